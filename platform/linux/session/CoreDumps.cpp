#include "platform/linux/session/CoreDumps.h"

#include "core/text/Secret.h"

#include <sys/prctl.h>

namespace velmora {

void keepSecretsFromCoreDumps() {
    static const int usual = prctl(PR_GET_DUMPABLE);
    setSecretsHeld([](bool held) noexcept { prctl(PR_SET_DUMPABLE, held ? 0 : usual); });
}

}  // namespace velmora
