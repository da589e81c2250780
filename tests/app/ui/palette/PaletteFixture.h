#pragma once

#include "app/ui/palette/PaletteController.h"
#include "app/ui/palette/PaletteFooter.h"
#include "app/ui/palette/PaletteInput.h"
#include "app/ui/state/PaletteState.h"
#include "tests/fakes/FakePlatform.h"
#include "tests/fakes/FakeWindowManager.h"

#include <gtest/gtest.h>

#include <QTest>

namespace velmora::test {

/// Gives out themed icons and counts what it is asked for.
class FakeFileIcons final : public FileIcons {
  public:
    [[nodiscard]] std::string find(const std::string& path, const std::vector<std::string>&, int) const override {
        asked.push_back(path);
        return {};
    }

    mutable std::vector<std::string> asked;
};

/// The palette's window over the real state and a real database; everything else is fake.
class PaletteFixture : public testing::Test, protected FakePlatform {
  protected:
    PaletteFixture() {
        services = makeServices();
        state = std::make_shared<PaletteState>(services);
        loop.run([this]() -> Task<> { co_await state->start(); });
        controller = std::make_unique<PaletteController>(
            state, PaletteController::Desktop{loop.executor(), loop.executor(), windowManager, childProcesses, icons});
    }

    /// Shows the palette over another program's window, as it were, and waits until it has the focus.
    void show() {
        elsewhere.show();
        elsewhere.activateWindow();
        ASSERT_TRUE(QTest::qWaitForWindowActive(&elsewhere));
        controller->show();
        ASSERT_TRUE(QTest::qWaitFor([this] { return input().hasFocus(); }));
        loop.settle();
    }

    void add(
        const std::string& id, const std::function<void(CommandResult&)>& shape = [](CommandResult&) {}) {
        CommandResult result;
        result.id = id;
        result.title = id;
        result.actions.push_back({"run", "Run", "↵", ActionRole::normal, [this]() -> Task<> {
                                      ++runs;
                                      co_return;
                                  }});
        result.keepsOpen = true;
        shape(result);
        state->registry().registerCommand(std::make_shared<StaticCommand>(result));
        state->search();
    }

    void press(int key, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
        QTest::keyClick(panel().windowHandle(), static_cast<Qt::Key>(key), modifiers);
        loop.settle();
    }

    void type(const QString& text) {
        QTest::keyClicks(&input(), text);
        loop.settle();
    }

    [[nodiscard]] CommandPanel& panel() const { return controller->panel(); }
    [[nodiscard]] PaletteInput& input() const { return view<PaletteInput>(); }

    /// The first part of the window that is of this class.
    template <class View>
    [[nodiscard]] View& view() const {
        for (QWidget* const part : panel().findChildren<QWidget*>())
            if (auto* const found = dynamic_cast<View*>(part)) return *found;
        throw std::logic_error("the window has no such part");
    }

    QWidget elsewhere;
    FakeWindowManager windowManager;
    std::shared_ptr<FakeFileIcons> icons = std::make_shared<FakeFileIcons>();
    std::shared_ptr<AppServices> services;
    std::shared_ptr<PaletteState> state;
    std::unique_ptr<PaletteController> controller;
    int runs = 0;
};

}  // namespace velmora::test
