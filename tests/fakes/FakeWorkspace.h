#pragma once

#include "platform/Workspace.h"
#include "tests/fakes/ManualClock.h"

#include <chrono>
#include <stdexcept>

namespace velmora::test {

/// Remembers what it was asked to open. It can refuse, and take as long as told.
class FakeWorkspace final : public Workspace {
  public:
    struct Launch {
        std::string path;
        std::vector<std::string> arguments;

        bool operator==(const Launch&) const = default;
    };

    explicit FakeWorkspace(ManualClock& clock) : clock_(clock) {}

    [[nodiscard]] Task<> open(std::string path) override {
        co_await answer();
        opened.push_back(path);
    }

    [[nodiscard]] Task<> openFolder(std::string path) override {
        co_await answer();
        opened.push_back(path);
    }

    [[nodiscard]] Task<> openURL(std::string url) override {
        co_await answer();
        openedURLs.push_back(url);
    }

    [[nodiscard]] Task<> openApplication(std::string path, std::vector<std::string> arguments) override {
        co_await answer();
        launches.push_back({path, arguments});
    }

    [[nodiscard]] Task<> openWith(std::string file, std::string application) override {
        co_await answer();
        openedWith.push_back({application, {file}});
    }

    [[nodiscard]] Task<FileHandlers> handlers(std::string) override {
        co_await answer();
        co_return fileHandlers;
    }

    [[nodiscard]] Task<> reveal(std::string path) override {
        co_await answer();
        revealed.push_back(path);
    }

    bool fails = false;
    std::chrono::milliseconds delay{0};
    FileHandlers fileHandlers;
    std::vector<std::string> opened;
    std::vector<std::string> openedURLs;
    std::vector<std::string> revealed;
    std::vector<Launch> openedWith;
    std::vector<Launch> launches;

  private:
    [[nodiscard]] Task<> answer() {
        if (delay.count() > 0) co_await clock_.sleep(delay);
        if (fails) throw std::runtime_error("the desktop refuses");
    }

    ManualClock& clock_;
};

}  // namespace velmora::test
