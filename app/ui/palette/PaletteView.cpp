#include "app/ui/palette/PaletteView.h"

#include "app/ui/icons/SymbolIcons.h"
#include "app/ui/palette/ActionsMenu.h"
#include "app/ui/palette/AnswerView.h"
#include "app/ui/palette/BusyLine.h"
#include "app/ui/palette/EmptyView.h"
#include "app/ui/palette/NoticeLine.h"
#include "app/ui/palette/PaletteFooter.h"
#include "app/ui/palette/PaletteInput.h"
#include "app/ui/palette/ResultList.h"
#include "app/ui/palette/ResultPreviewView.h"
#include "app/ui/widgets/ChipButton.h"
#include "app/ui/widgets/Texts.h"
#include "app/ui/widgets/Theme.h"

#include <QAccessible>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QMenu>
#include <QPainter>
#include <QStackedWidget>
#include <QVBoxLayout>

namespace velmora {
namespace {

using Mode = PaletteState::Mode;

constexpr std::size_t previewLimit = 50'000;
constexpr std::size_t fileSearchCap = 100;
constexpr int leadingSize = 22;
constexpr int rowPadding = 20;
constexpr int rowSpacing = 12;
constexpr int popoverMargin = 8;

const QString keyHints = QStringLiteral("↑ ↓ Navigate   ↵ Execute   ⇥ Arguments   ⌘ K Actions   esc Close");
const QString commandHelp = QStringLiteral("Type a name or keyword to find a result.");
const QString fileHelp = QStringLiteral(
    "Results come from Velmora's own file index. Add folders in Settings → File Index if something is missing.");
const QString argumentHelp = QStringLiteral("Type arguments and press Return, or pick a previous launch below.");
const QString fileExample = QStringLiteral("report 2026 ext:pdf · path:Downloads · kind:folder · sort:size");

QString symbolOf(Mode mode) {
    switch (mode) {
        case Mode::commands:
            return QStringLiteral("command");
        case Mode::files:
            return QStringLiteral("doc.text.magnifyingglass");
        case Mode::clipboard:
            return QStringLiteral("clipboard");
        case Mode::ai:
            return QStringLiteral("sparkles");
    }
    return {};
}

QString countOf(std::size_t results) {
    if (results == fileSearchCap) return QStringLiteral("First 100");
    return QString::number(results) + QStringLiteral(" results");
}

}  // namespace

PaletteView::PaletteView(std::shared_ptr<PaletteState> state, std::shared_ptr<ResultIcons> icons,
                         std::function<void()> chooseFileDirectory, QWidget* parent)
    : QWidget(parent),
      state_(std::move(state)),
      icons_(std::move(icons)),
      chooseFileDirectory_(std::move(chooseFileDirectory)) {
    build();
    wireInput();
    changes_ = state_->onChange([this] { refresh(); });
    refresh();
}

void PaletteView::preloadIcons() {
    std::vector<std::string> paths;
    for (const ResultPointer& result : state_->registry().results()) {
        if (result->icon.kind == CommandIcon::Kind::file) paths.push_back(result->icon.value);
    }
    icons_->preload(std::move(paths), devicePixelRatioF());
}

void PaletteView::build() {
    error_ = new NoticeLine(NoticeLine::Kind::error, QStringLiteral("exclamationmark.triangle"), this);
    argumentHelp_ = new NoticeLine(NoticeLine::Kind::help, QStringLiteral("terminal"), this);
    busyLine_ = new BusyLine(this);
    content_ = new QStackedWidget(this);
    list_ = new ResultList(icons_, content_);
    empty_ = new EmptyView(content_);
    answer_ = new AnswerView(content_);
    preview_ = new ResultPreviewView(previewLimit, content_);
    for (QWidget* page : {static_cast<QWidget*>(list_), static_cast<QWidget*>(empty_), static_cast<QWidget*>(answer_),
                          static_cast<QWidget*>(preview_)})
        content_->addWidget(page);
    footer_ = new PaletteFooter(this);

    auto* const column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addWidget(inputRow());
    column->addWidget(busyLine_);
    column->addWidget(error_);
    column->addWidget(argumentHelp_);
    column->addWidget(content_, 1);
    column->addWidget(footer_);
    actions_ = new ActionsMenu(this);

    list_->onClick = [this](std::ptrdiff_t row) {
        state_->setSelection(row);
        state_->execute();
    };
    actions_->onClick = [this](const CommandAction& action) { state_->execute(action); };
    preview_->close = [this] { state_->togglePreview(); };
    connect(back_, &QAbstractButton::clicked, this, [this] { state_->escape(); });
    connect(folder_, &QAbstractButton::clicked, this, [this] { folderClicked(); });
}

QWidget* PaletteView::inputRow() {
    auto* const row = new QWidget(this);
    row->setFixedHeight(Theme::inputHeight);
    leading_ = new QWidget(row);
    leading_->setFixedSize(leadingSize, leadingSize);
    back_ = new ChipButton(QStringLiteral("chevron.left"), QStringLiteral("esc Back"), row);
    input_ = new PaletteInput(row);
    folder_ = new ChipButton(QStringLiteral("folder"), QStringLiteral("All Folders"), row);
    auto* const layout = new QHBoxLayout(row);
    layout->setContentsMargins(rowPadding, 0, rowPadding, 0);
    layout->setSpacing(rowSpacing);
    layout->addWidget(leading_);
    layout->addWidget(back_);
    layout->addWidget(input_, 1);
    layout->addWidget(folder_);
    return row;
}

void PaletteView::wireInput() {
    input_->onEdit = [this](std::string text) {
        state_->setQuery(std::move(text));
        if (!QAccessible::isActive()) return;
        QAccessibleEvent focus(input_, QAccessible::Focus);  // back from the row that was announced
        QAccessible::updateAccessibility(&focus);
    };
    input_->submit = [this] { state_->execute(); };
    input_->tab = [this] { state_->beginArguments(); };
    input_->move = [this](std::ptrdiff_t step) {
        state_->move(step);
        if (!state_->showsActions()) list_->announceSelection();
    };
    input_->copy = [this] { return preview_->isVisible() && preview_->copySelection(); };
}

/// Whether the palette is where every showing of it begins.
bool PaletteView::atHome() const {
    return state_->mode() == Mode::commands && !state_->argumentTarget();
}

void PaletteView::refresh() {
    refreshInputRow();
    refreshNotices();
    refreshContent();
    refreshFooter();
    refreshActions();
}

void PaletteView::refreshInputRow() {
    input_->show(state_->query(), state_->placeholder());
    leading_->setVisible(atHome());
    back_->setVisible(!atHome());
    const bool hasFolder = state_->mode() == Mode::files && chooseFileDirectory_;
    folder_->setVisible(hasFolder);
    if (!hasFolder) return;
    const QString directory = texts::of(state_->fileDirectory().value_or(""));
    const QString name = directory.isEmpty() ? QStringLiteral("All Folders") : QFileInfo(directory).fileName();
    folder_->setText(name.isEmpty() ? directory : name);
    folder_->setToolTip(directory.toHtmlEscaped());
    folder_->updateGeometry();
}

void PaletteView::refreshNotices() {
    busyLine_->setBusy(state_->searching() || state_->busy());
    error_->show(texts::line(state_->error().value_or("")));
    argumentHelp_->show(state_->argumentTarget() ? argumentHelp : QString());
}

void PaletteView::refreshContent() {
    list_->show(state_->results(), state_->selection());
    const ResultPointer selected = state_->selectedResult();
    static const std::optional<std::string> nothing;
    const std::optional<std::string>& text = selected ? selected->previewText : nothing;
    if (state_->showsPreview() && text) {
        preview_->show(*text);
        content_->setCurrentWidget(preview_);
    } else if (state_->mode() == Mode::ai) {
        answer_->show(state_->aiIntroduction());
        content_->setCurrentWidget(answer_);
    } else if (!state_->results().empty()) {
        content_->setCurrentWidget(list_);
    } else {
        // What is still being searched for is not missing yet.
        if (state_->searching()) {
            empty_->show({}, {}, {});
        } else if (state_->argumentTarget()) {
            empty_->show(QStringLiteral("terminal"), QStringLiteral("No Results"), {});
        } else {
            empty_->show(symbolOf(state_->mode() == Mode::commands ? Mode::files : state_->mode()),
                         QStringLiteral("No Results"), state_->mode() == Mode::files ? fileHelp : commandHelp);
        }
        content_->setCurrentWidget(empty_);
    }
}

void PaletteView::refreshFooter() {
    const Mode mode = state_->mode();
    footer_->setMode(state_->argumentTarget() ? QStringLiteral("terminal") : symbolOf(mode),
                     texts::of(PaletteState::title(mode)));
    if (atHome()) {
        footer_->setHints(keyHints);
    } else if (mode == Mode::files) {
        footer_->setHelp(fileExample, countOf(state_->results().size()));
    } else {
        const bool saidAbove = state_->argumentTarget() || content_->currentWidget() == empty_;
        footer_->setHelp(saidAbove ? QString() : commandHelp);
    }
}

void PaletteView::refreshActions() {
    const ResultPointer selected = state_->selectedResult();
    if (!state_->showsActions() || !selected) {
        actions_->dismiss();
        return;
    }
    actions_->show(selected, state_->actionSelection());
    placeActions();
}

void PaletteView::placeActions() {
    const bool mirrored = layoutDirection() == Qt::RightToLeft;
    const QPoint corner(mirrored ? popoverMargin : width() - popoverMargin,
                        height() - Theme::footerHeight - popoverMargin);
    actions_->place(corner, corner.y() - Theme::inputHeight - popoverMargin);
}

void PaletteView::folderClicked() {
    if (!state_->fileDirectory()) return chooseFileDirectory_();
    auto* const menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    connect(menu->addAction(QStringLiteral("All Folders")), &QAction::triggered, this,
            [this] { state_->setFileDirectory(std::nullopt); });
    connect(menu->addAction(QStringLiteral("Choose Folder…")), &QAction::triggered, this,
            [this] { chooseFileDirectory_(); });
    menu->popup(folder_->mapToGlobal(QPoint(0, folder_->height() + 4)));
}

void PaletteView::keyPressEvent(QKeyEvent* event) {
    const int page = event->key() == Qt::Key_PageDown ? 1 : event->key() == Qt::Key_PageUp ? -1 : 0;
    if (page != 0 && preview_->isVisible()) return preview_->scroll(page);
    QWidget::keyPressEvent(event);
}

void PaletteView::paintEvent(QPaintEvent*) {
    if (leading_->isHidden()) return;
    QPainter(this).drawPixmap(
        leading_->mapTo(this, QPoint()),
        SymbolIcons::pixmap(QStringLiteral("command"), leadingSize, devicePixelRatioF(), Theme::current().secondary));
}

void PaletteView::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    if (actions_ && !actions_->isHidden()) placeActions();
}

}  // namespace velmora
