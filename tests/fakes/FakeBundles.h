#pragma once

#include "platform/ApplicationBundles.h"

#include <functional>

namespace velmora::test {

/// Applications are directories "*.app" that say nothing of themselves.
class FakeBundles final : public ApplicationBundles {
  public:
    [[nodiscard]] std::vector<std::string> roots() const override { return folders; }

    [[nodiscard]] bool isApplicationName(std::string_view name, bool isDirectory) const override {
        return isDirectory && name.ends_with(".app");
    }

    [[nodiscard]] bool mayLaunch(const std::string& path) const override { return path.ends_with(".app"); }

    [[nodiscard]] std::optional<BundleInformation> read(const std::string& path, const std::string&) const override {
        beforeReading(path);
        return std::nullopt;
    }

    std::vector<std::string> folders;
    std::function<void(const std::string&)> beforeReading = [](const std::string&) {};
};

}  // namespace velmora::test
