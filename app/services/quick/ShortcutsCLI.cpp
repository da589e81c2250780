#include "app/services/quick/ShortcutsCLI.h"

#include "core/AppError.h"
#include "core/async/Timeout.h"
#include "core/text/Text.h"

#include <optional>

namespace velmora {
namespace {

using namespace std::chrono_literals;

constexpr auto listTimeout = 20s;
constexpr auto runTimeout = 180s;
constexpr std::size_t listLimit = std::size_t{1} << 20U;
constexpr std::size_t longestName = 1024;  // four times what a file's can have

std::string_view withoutBlanks(std::string_view line) {
    line.remove_prefix(std::min(line.find_first_not_of(" \t"), line.size()));
    return line.substr(0, line.find_last_not_of(" \t") + 1);
}

}  // namespace

Task<std::vector<std::string>> ShortcutsCLI::listNames() {
    std::vector<std::string> arguments{"list"};
    const std::string output = co_await execute(std::move(arguments), listLimit, listTimeout);
    std::vector<std::string> names;
    std::string_view rest = output;
    while (!rest.empty()) {
        const std::string_view line = rest.substr(0, rest.find('\n'));
        rest.remove_prefix(std::min(line.size() + 1, rest.size()));
        const std::string_view name = withoutBlanks(line);
        if (!name.empty() && name.size() <= longestName) names.emplace_back(name);
    }
    co_return names;
}

Task<> ShortcutsCLI::run(std::string name) {
    std::vector<std::string> arguments{"run", std::move(name)};
    co_await execute(std::move(arguments), 0, runTimeout);
}

Task<std::string> ShortcutsCLI::findTool() const {
    for (const std::string& tool : tools_) {
        const bool isThere = co_await processes_.isExecutable(tool);
        if (isThere) co_return tool;
    }
    co_return std::string();
}

Task<std::string> ShortcutsCLI::execute(std::vector<std::string> arguments, std::size_t outputLimit,
                                        std::chrono::seconds timeout) {
    std::string tool = co_await findTool();
    if (tool.empty()) throw AppError::configuration("The macOS Shortcuts command line tool is not available.");
    co_await throwIfCancelled();
    ChildProcessRequest request{.executable = std::move(tool), .arguments = std::move(arguments)};
    request.hasOutput = outputLimit > 0;
    const std::shared_ptr<ChildProcess> child = co_await processes_.start(std::move(request));
    const std::function<Task<ChildProcessResult>()> work = [child, outputLimit] { return collect(child, outputLimit); };
    const AppError tooLate = AppError::toolExecution("The shortcut timed out.");
    std::optional<ChildProcessResult> result;
    try {
        result = co_await withTimeout(clock_, timeout, tooLate, work);
    } catch (const Cancelled&) {  // NOLINT(bugprone-empty-catch): the caller is, or nobody followed the program
    }
    co_await throwIfCancelled();
    if (!result) throw AppError::toolExecution("The shortcut did not return.");
    if (result->exceededLimit) throw AppError::toolExecution("The list of shortcuts is too long.");
    if (result->end.status != 0) {
        const std::string words = text::validUtf8(text::trimmed(result->end.errors));
        throw AppError::toolExecution(words.empty() ? "The shortcut did not complete." : words);
    }
    co_return text::validUtf8(result->output);
}

}  // namespace velmora
