#pragma once

#include "app/composition/AppServices.h"
#include "tests/fakes/FakeBundles.h"
#include "tests/fakes/FakeChildProcesses.h"
#include "tests/fakes/FakeCredentialStore.h"
#include "tests/fakes/FakeDesktop.h"
#include "tests/fakes/FakeDisk.h"
#include "tests/fakes/FakeHttpClient.h"
#include "tests/fakes/FakeSession.h"
#include "tests/fakes/FakeWorkspace.h"
#include "tests/fakes/TemporaryFolder.h"
#include "tests/fakes/TestLoop.h"

namespace velmora::test {

/// A platform on which everything is fake but a temporary home folder, and the services over it.
struct FakePlatform {
    [[nodiscard]] std::shared_ptr<AppServices> makeServices() {
        const Platform platform{
            .main = loop.executor(),
            .pool = loop.executor(),
            .disk = loop.executor(),
            .storage = loop.executor(),
            .secrets = loop.executor(),
            .clock = clock,
            .paths = {folder.path(), folder.path() + "/data"},
            .workspace = workspace,
            .pasteboard = pasteboard,
            .frontmost = frontmost,
            .alerts = alerts,
            .popUpMenu = menu,
            .folderPanel = folderPanel,
            .childProcesses = childProcesses,
            .power = session,
            .screenLock = session,
            .trash = session,
            .credentials = credentials,
            .http = http,
            .applicationBundles = bundles,
            .fileScanner = std::make_shared<FakeScanner>(disk, loop.executor()),
            .makeFileEvents = [this](const std::shared_ptr<IndexReading>&,
                                     const std::vector<std::string>&) { return std::make_shared<FakeWatcher>(disk); },
            .fileAttributes = std::make_shared<FakeAttributes>(disk),
            .shortcutsTools = {"/bin/true"},
            .responsesURL = {},
        };
        return loop.run([platform]() -> Task<std::shared_ptr<AppServices>> {
            co_return co_await AppServices::create(platform);
        });
    }

    TestLoop loop;
    ManualClock clock;
    TemporaryFolder folder;
    FakeWorkspace workspace{clock};
    FakePasteboard pasteboard{clock};
    FakeFrontmostApplication frontmost;
    FakeAlerts alerts{clock};
    FakeMenu menu;
    FakeFolderPanel folderPanel;
    FakeChildProcesses childProcesses{clock};
    FakeSession session{clock};
    FakeCredentialStore credentials;
    FakeHttpClient http;
    FakeDisk disk;
    std::shared_ptr<FakeBundles> bundles = std::make_shared<FakeBundles>();
};

}  // namespace velmora::test
