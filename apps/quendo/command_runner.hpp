#pragma once
/// \file
/// `CommandRunner`, the client's half of a command: words to requests, answers to text.

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "adapters/cctz/local_time_zone.hpp"
#include "apps/quendo/arguments.hpp"
#include "apps/quendo/executor.hpp"
#include "apps/quendo/failure.hpp"
#include "apps/quendo/folders.hpp"
#include "apps/quendo/request.hpp"

namespace quendo {

/// What a command prints, and the exit code that goes with it.
struct Output {
    std::string text;
    ExitCode code = ExitCode::done;
    /// The person asked for the text itself, so that `--quiet` does not keep it back.
    bool isProduct = false;
};

/// Runs one command after the other, in the person's zone and language. Warnings go to standard error.
class CommandRunner {
public:
    CommandRunner(Folders folders, bool json, bool quiet) : folders_(std::move(folders)), json_(json), quiet_(quiet) {}

    // command_runner_reminders.cpp
    Outcome<Output> operator()(const AddArguments& arguments);
    Outcome<Output> operator()(const ListArguments& arguments);
    Outcome<Output> operator()(const ShowArguments& arguments);
    Outcome<Output> operator()(const EditArguments& arguments);
    Outcome<Output> operator()(const PostponeArguments& arguments);
    Outcome<Output> operator()(const SeenArguments& arguments);
    Outcome<Output> operator()(const DeleteArguments& arguments);
    Outcome<Output> operator()(const StatsArguments& arguments);
    Outcome<Output> operator()(const ClearArguments& arguments);
    // command_runner_transfer.cpp
    Outcome<Output> operator()(const ExportArguments& arguments);
    Outcome<Output> operator()(const ImportArguments& arguments);
    // command_runner_cloud.cpp
    Outcome<Output> operator()(const CloudArguments& arguments);
    Outcome<Output> operator()(const SyncArguments& arguments);
    Outcome<Output> operator()(const StatusArguments& arguments);
    // command_runner.cpp
    Outcome<Output> operator()(const PresetsArguments& arguments);
    Outcome<Output> operator()(const ActionsArguments& arguments);
    Outcome<Output> operator()(const OptionsArguments& arguments);
    Outcome<Output> operator()(const VersionArguments& arguments) const;
    Outcome<Output> operator()(const DoctorArguments& arguments) const;
    Outcome<Output> operator()(const DaemonArguments& arguments) const;

private:
    [[nodiscard]] Outcome<std::unique_ptr<Executor>> openExecutor() const;

    /// Lets an executor of its own execute `request`, and renders its answer by `render`, which may warn.
    template <typename OneRequest, typename Render>
    Outcome<Output> ask(OneRequest request, Render render) const {
        auto executor = openExecutor();
        if (!executor) {
            return executor.failure();
        }
        auto answer = quendo::ask(*executor.value(), std::move(request));
        if (!answer) {
            return answer.failure();
        }
        return Output{render(answer.value())};
    }

    /// The choice in `arguments`; absent when there is none. Warns when the clocks skip the time that was written.
    [[nodiscard]] Outcome<std::optional<Choice>> choiceOf(const ChoiceArguments& arguments) const;
    /// The moment that WHEN means, whatever it is good for. Warns likewise.
    [[nodiscard]] Outcome<quendokit::Date> dateOf(const std::string& when) const;
    /// When a to-do falls due that names a date alone. Asked on its own, so that nobody waits while a file
    /// is read.
    [[nodiscard]] Outcome<std::int64_t> workdayMorning() const;
    /// Writes to standard error, unless only errors are to be told.
    void warn(const std::string& line) const;

    const Folders folders_;
    const bool json_;
    const bool quiet_;
    const std::shared_ptr<const quendokit::LocalTimeZone> zone_ = quendokit::LocalTimeZone::current();
};

}  // namespace quendo
