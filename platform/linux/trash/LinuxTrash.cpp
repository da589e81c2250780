#include "platform/linux/trash/LinuxTrash.h"

#include "platform/linux/trash/TrashFolder.h"

#include <sys/stat.h>
#include <unistd.h>

#include <vector>

namespace velmora {

Task<bool> LinuxTrash::empty() {
    Actor worker(pool_);
    const auto work = [home = dataHome_ + "/Trash", withVolumes = withVolumes_] {
        // A trash that is a link to elsewhere is not emptied; that is no success.
        struct stat status {};
        bool whole = lstat(home.c_str(), &status) != 0 || S_ISDIR(status.st_mode);
        const std::vector<std::string> volumes = withVolumes ? mountedVolumes() : std::vector<std::string>();
        for (const TrashFolder& folder : TrashFolder::find(home, volumes, geteuid()))
            whole = folder.empty() && whole;
        return whole;
    };
    co_return co_await worker.run(work);
}

}  // namespace velmora
