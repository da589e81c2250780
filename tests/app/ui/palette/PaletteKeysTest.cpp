#include "core/text/Text.h"
#include "tests/app/ui/palette/PaletteFixture.h"

#include <QInputMethodEvent>

namespace velmora {
namespace {

using test::PaletteFixture;

class PaletteKeys : public PaletteFixture {
  protected:
    PaletteKeys() {
        for (const std::string id : {"zq one", "zq two", "zq three"})
            add(id, [](CommandResult& result) { result.previewText = "text"; });
        show();
        type("zq ");
    }

    void compose(const QString& preedit, const QString& commit = {}) {
        QInputMethodEvent event(preedit, {});
        if (!commit.isEmpty()) event.setCommitString(commit);
        QApplication::sendEvent(&input(), &event);
    }

    /// Everything a key can change, in one word each.
    [[nodiscard]] std::string situation() const {
        std::string words = "row " + std::to_string(state->selection());
        if (state->showsActions()) words += ", menu " + std::to_string(state->actionSelection());
        if (state->showsPreview()) words += ", preview";
        if (runs > 0) words += ", ran";
        if (!controller->visible()) words += ", hidden";
        if (input().text() != "zq ") words += ", text '" + input().text().toStdString() + "'";
        return words;
    }
};

TEST_F(PaletteKeys, MeanWhatTheyAreShownToMean) {
    const std::tuple<int, Qt::KeyboardModifiers, std::string> cases[] = {
        {Qt::Key_Down, {}, "row 1"},
        {Qt::Key_Down, Qt::KeypadModifier, "row 2"},
        {Qt::Key_Down, {}, "row 0"},
        {Qt::Key_Up, {}, "row 2"},
        {Qt::Key_K, Qt::ControlModifier, "row 2, menu 0"},
        {Qt::Key_Up, {}, "row 2, menu 0"},
        {Qt::Key_K, Qt::MetaModifier, "row 2"},
        {Qt::Key_Y, Qt::MetaModifier, "row 2, preview"},
        {Qt::Key_Up, {}, "row 1, preview"},
        {Qt::Key_K, Qt::MetaModifier, "row 1, menu 0"},
        {Qt::Key_Y, Qt::ControlModifier, "row 1, preview"},
        {Qt::Key_Escape, {}, "row 1"},
        {Qt::Key_Tab, {}, "row 1"},
        {Qt::Key_Backtab, Qt::ShiftModifier, "row 1"},
        {Qt::Key_Return, Qt::ControlModifier, "row 1"},
        {Qt::Key_Enter, Qt::KeypadModifier, "row 1, ran"},
        {Qt::Key_Escape, {}, "row 0, ran, hidden"},
    };
    for (const auto& [key, modifiers, expected] : cases) {
        press(key, modifiers);
        EXPECT_EQ(situation(), expected) << QKeySequence(key | modifiers).toString().toStdString();
    }
}

TEST_F(PaletteKeys, TextBeingComposedIsNoQuery) {
    compose("ni");
    EXPECT_EQ(state->query(), "zq ");
    for (const int key : {Qt::Key_Down, Qt::Key_Return, Qt::Key_Tab, Qt::Key_Up})
        press(key);
    EXPECT_EQ(situation(), "row 0") << "keys belong to the input method while it composes";
    compose({}, "你");
    EXPECT_EQ(state->query(), "zq 你");
    compose("hao");
    press(Qt::Key_Escape);
    EXPECT_TRUE(controller->visible()) << "the first Escape only ends the composition";
    compose({});
    press(Qt::Key_Escape);
    EXPECT_FALSE(controller->visible());
}

TEST_F(PaletteKeys, ChangesOfTheStateLeaveTheFieldAlone) {
    input().setCursorPosition(1);
    state->showError("something");
    add("zq four");
    EXPECT_EQ(input().cursorPosition(), 1);
    type("x");
    EXPECT_EQ(state->query(), "zxq ");
    EXPECT_EQ(input().cursorPosition(), 2);
}

TEST_F(PaletteKeys, WhatIsPastedIsTakenWholeOrNotAtAll) {
    const auto paste = [this](const QString& text) {
        QGuiApplication::clipboard()->setText(text);
        press(Qt::Key_V, Qt::ControlModifier);
    };
    press(Qt::Key_A, Qt::ControlModifier);
    paste("one\ntwo\r\n\tthree");
    EXPECT_EQ(state->query().find_first_of("\r\n"), std::string::npos);
    press(Qt::Key_A, Qt::ControlModifier);
    paste(QString(60'000, u'x'));
    EXPECT_EQ(state->query().size(), 60'000U);
    input().setCursorPosition(7);
    for (const int length : {40'001, 2'000'000}) {
        paste(QString(length, u'y'));
        EXPECT_EQ(state->query(), std::string(60'000, 'x')) << "what was there stays";
        EXPECT_EQ(input().cursorPosition(), 7);
        EXPECT_EQ(state->error(), "This text is too long. Up to " + text::formattedCount(100'000) +
                                      " characters can be typed or pasted here.");
    }
    paste(QString(40'000, u'y'));
    EXPECT_EQ(state->query().size(), 100'000U);
    EXPECT_EQ(state->error(), std::nullopt);
}
}  // namespace
}  // namespace velmora
