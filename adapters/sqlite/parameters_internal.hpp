#pragma once
/// \file
/// `ParameterWriter`, which binds properties as the parameters of a statement.

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "adapters/sqlite/connection_internal.hpp"
#include "quendokit/platform/row.hpp"

namespace quendokit::sqlite {

/// Binds each property as the parameter of its number, the first being `?1`.
class ParameterWriter final : public RowWriter {
public:
    explicit ParameterWriter(Statement& statement) : statement_(statement) {}

    void boolean(std::size_t property, bool value) override { integer(property, value ? 1 : 0); }
    void integer(std::size_t property, std::int64_t value) override { statement_.bind(parameter(property), value); }
    void text(std::size_t property, std::string_view value) override { statement_.bind(parameter(property), value); }
    void date(std::size_t property, Date value) override {
        const double seconds = value.timeIntervalSince1970();
        allDatesFinite_ = allDatesFinite_ && std::isfinite(seconds);
        statement_.bind(parameter(property), seconds);
    }

    /// A text must live until the statement is reset.
    void value(std::size_t property, const Value& value);

    /// SQLite would keep NaN as NULL and an infinity as it is; neither is a moment.
    [[nodiscard]] bool allDatesFinite() const noexcept { return allDatesFinite_; }

private:
    static int parameter(std::size_t property) { return static_cast<int>(property) + 1; }

    Statement& statement_;
    bool allDatesFinite_ = true;
};

}  // namespace quendokit::sqlite
