#include "platform/linux/posix/ExecutableFile.h"

#include <sys/stat.h>
#include <unistd.h>

namespace velmora {

bool isExecutableFile(const std::string& path) {
    struct stat status {};
    return stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode) && access(path.c_str(), X_OK) == 0;
}

}  // namespace velmora
