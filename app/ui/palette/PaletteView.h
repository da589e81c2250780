#pragma once

#include "app/ui/icons/ResultIcons.h"
#include "app/ui/state/PaletteScreen.h"
#include "app/ui/state/PaletteState.h"

#include <QWidget>
#include <memory>

class QStackedWidget;

namespace velmora {

class ActionsMenu;
class AnswerView;
class BusyLine;
class ChipButton;
class EmptyView;
class NoticeLine;
class PaletteFooter;
class PaletteInput;
class ResultList;
class ResultPreviewView;
class TextView;

/// Draws the palette from its state and sends the user's clicks and keys back to it. It decides nothing.
class PaletteView final : public QWidget {
  public:
    PaletteView(std::shared_ptr<PaletteState> state, std::shared_ptr<ResultIcons> icons, QWidget* parent);

    [[nodiscard]] PaletteInput& input() { return *input_; }

    /// Has the icons of all commands read in the background, so that typing brings up rows with theirs.
    void preloadIcons();

  protected:
    void keyPressEvent(QKeyEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

  private:
    void build();
    [[nodiscard]] QWidget* inputRow();
    void wireInput();
    void refresh();
    void refreshInputRow(const PaletteScreen& screen);
    void refreshContent(const PaletteScreen& screen);
    void refreshActions(const PaletteScreen& screen);
    void placeActions();
    void folderClicked();
    /// The text on screen that can be read and copied from, if there is one.
    [[nodiscard]] TextView* shownText() const;

    std::shared_ptr<PaletteState> state_;
    std::shared_ptr<ResultIcons> icons_;
    Subscription changes_;

    QWidget* leading_ = nullptr;  // keeps the room of the mark in front of the input
    ChipButton* back_ = nullptr;
    ChipButton* folder_ = nullptr;
    PaletteInput* input_ = nullptr;
    BusyLine* busyLine_ = nullptr;
    NoticeLine* error_ = nullptr;
    NoticeLine* argumentHelp_ = nullptr;
    QStackedWidget* content_ = nullptr;
    ResultList* list_ = nullptr;
    EmptyView* empty_ = nullptr;
    AnswerView* answer_ = nullptr;
    ResultPreviewView* preview_ = nullptr;
    PaletteFooter* footer_ = nullptr;
    ActionsMenu* actions_ = nullptr;
};

}  // namespace velmora
