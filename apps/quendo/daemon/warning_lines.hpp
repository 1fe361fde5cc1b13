#pragma once
/// \file
/// `WarningLines`, which brings warnings to the one whose request they belong to.

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace quendo {

/// Warnings go to the collection that began last and has not ended, and elsewhere while there is none. Main thread
/// only.
class WarningLines {
public:
    using Line = std::function<void(const std::string&)>;

private:
    struct State {
        Line elsewhere;
        std::vector<std::string>* current;
    };

public:
    explicit WarningLines(Line elsewhere) : state_(std::make_shared<State>(State{std::move(elsewhere), nullptr})) {}

    /// Takes warnings; may outlive this.
    [[nodiscard]] Line sink() const {
        return [state = state_](const std::string& line) {
            if (state->current != nullptr) {
                state->current->push_back(line);
            } else {
                state->elsewhere(line);
            }
        };
    }

    /// The warnings of its lifetime. Collections nest.
    class Collection {
    public:
        explicit Collection(WarningLines& lines)
            : state_(lines.state_), outer_(std::exchange(state_->current, &collected_)) {}
        Collection(const Collection&) = delete;
        Collection& operator=(const Collection&) = delete;
        ~Collection() { state_->current = outer_; }

        [[nodiscard]] std::vector<std::string> take() { return std::exchange(collected_, {}); }

    private:
        std::vector<std::string> collected_;
        std::shared_ptr<State> state_;
        std::vector<std::string>* outer_;
    };

private:
    std::shared_ptr<State> state_;
};

}  // namespace quendo
