#pragma once

#include "platform/ClipboardReading.h"
#include "platform/Pasteboard.h"
#include "tests/fakes/TestLoop.h"
#include "tests/platform/linux/ServerProcess.h"

#include <gtest/gtest.h>

#include <functional>
#include <thread>

namespace velmora::test {

using Types = std::vector<std::string>;

inline const std::string plain(pasteboardType::text);
inline const std::string address(pasteboardType::url);

/// An X server without a screen, for as long as the test lives.
struct VirtualDisplay {
    ServerProcess server{{"Xvfb", "-displayfd", "1", "-screen", "0", "320x200x24", "-nolisten", "tcp", "-noreset"}};
    const std::string name = ":" + server.line();
};

/// What is waited for happens on other threads, which wake nobody here.
inline void until(const std::function<bool()>& condition) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (!condition() && std::chrono::steady_clock::now() < deadline)
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    EXPECT_TRUE(condition());
}

/// Five hundred thousand bytes, every part of them different, with a letter across each border between two pieces.
inline std::string largeText() {
    std::string text;
    for (int i = 0; text.size() < 500'000; ++i)
        text += std::to_string(i) + "€";
    return text;
}

inline Types typesOf(TestLoop& loop, ClipboardReading& clipboard) {
    return loop.run([&]() -> Task<Types> { co_return co_await clipboard.clipboardTypes(); });
}

inline std::optional<std::string> readFrom(TestLoop& loop, ClipboardReading& clipboard, const std::string& type,
                                           std::size_t maximumBytes = 1'000'000) {
    return loop.run([&]() -> Task<std::optional<std::string>> {
        co_return co_await clipboard.clipboardString(type, maximumBytes);
    });
}

}  // namespace velmora::test
