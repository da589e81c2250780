#pragma once

#include "platform/Runtime.h"
#include "platform/linux/applications/LinuxWorkspace.h"
#include "tests/fakes/TemporaryFolder.h"
#include "tests/fakes/TestLoop.h"

#include <gtest/gtest.h>

#include <unistd.h>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace velmora::test {

/// What the probe saw of its own start.
struct Report {
    std::string directory;
    std::string descriptors;
    std::string session;
    std::vector<std::string> arguments;
};

/// A folder with a program "probe" in it, which reports how it was started, and a workspace to start it with.
class LaunchFixture : public testing::Test {
  protected:
    LaunchFixture() {
        std::filesystem::create_directories(folder.path() + "/bin");
        std::filesystem::copy_file(VELMORA_LAUNCH_PROBE, probe);
        environment.home = folder.path();
        environment.searchFolders = {folder.path() + "/bin"};
    }

    std::string entry(const std::string& lines, const std::string& name = "entry") {
        return folder.write(name + ".desktop", "[Desktop Entry]\nType=Application\nName=The Probe\n" + lines);
    }

    void launch(const std::string& path, const std::vector<std::string>& arguments = {}) {
        if (!workspace) workspace.emplace(pool.executor(), environment);
        std::error_code ignored;
        std::filesystem::remove(probe + ".report", ignored);
        loop.run([&]() -> Task<> { co_await workspace->openApplication(path, arguments); });
    }

    Report report(const std::string& program) {
        loop.until([&] { return std::filesystem::exists(program + ".report"); });
        std::ifstream file(program + ".report", std::ios::binary);
        Report seen;
        for (std::string* const line : {&seen.directory, &seen.descriptors, &seen.session})
            std::getline(file, *line, '\0');
        for (std::string argument; std::getline(file, argument, '\0');)
            seen.arguments.push_back(argument);
        return seen;
    }

    Report launched(const std::string& path, const std::vector<std::string>& arguments = {}) {
        launch(path, arguments);
        return report(probe);
    }

    TestLoop loop;
    TemporaryFolder folder;
    const std::string probe = folder.path() + "/bin/probe";
    WorkerPool pool{2};
    DesktopEnvironment environment;
    std::optional<LinuxWorkspace> workspace;
};

}  // namespace velmora::test
