#include "platform/ChildProcess.h"

namespace velmora {

Task<ChildProcessResult> collect(std::shared_ptr<ChildProcess> child,  // NOLINT(performance-unnecessary-value-param)
                                 std::size_t limit, std::chrono::milliseconds grace) {
    ChildProcessResult result;
    try {
        while (!result.exceededLimit) {
            const std::optional<std::string> piece = co_await child->output().next();
            if (!piece) break;
            const std::size_t room = limit - result.output.size();
            result.output.append(*piece, 0, room);
            result.exceededLimit = piece->size() > room;
        }
        if (!result.exceededLimit) {
            result.end = co_await child->finished();
            co_return result;
        }
    } catch (const Cancelled&) {  // NOLINT(bugprone-empty-catch): it is terminated all the same
    }
    child->terminate(grace);
    result.end = co_await child->finished();
    if (!result.exceededLimit) throw Cancelled{};
    co_return result;
}

}  // namespace velmora
