#include "platform/linux/trash/LinuxTrash.h"

#include "platform/linux/trash/TrashFolder.h"

#include <unistd.h>

#include <vector>

namespace velmora {

Task<bool> LinuxTrash::empty() {
    Actor worker(pool_);
    const auto work = [home = dataHome_ + "/Trash", withVolumes = withVolumes_] {
        // A trash that is a link to elsewhere is not emptied; that is no success.
        bool whole = !TrashFolder::isLeftOut(home);
        const std::vector<std::string> volumes = withVolumes ? mountedVolumes() : std::vector<std::string>();
        for (const TrashFolder& folder : TrashFolder::find(home, volumes, geteuid()))
            whole = folder.empty() && whole;
        return whole;
    };
    co_return co_await worker.run(work);
}

}  // namespace velmora
