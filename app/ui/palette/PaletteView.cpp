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
#include "app/ui/widgets/PassiveText.h"
#include "app/ui/widgets/Texts.h"
#include "app/ui/widgets/Theme.h"

#include <QAccessible>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QMenu>
#include <QPainter>
#include <QStackedWidget>
#include <QVBoxLayout>

namespace velmora {
namespace {

constexpr std::size_t previewLimit = 50'000;
constexpr int leadingSize = 22;
constexpr int rowPadding = 20;
constexpr int rowSpacing = 12;
constexpr int popoverMargin = 8;

}  // namespace

PaletteView::PaletteView(std::shared_ptr<PaletteState> state, std::shared_ptr<ResultIcons> icons, QWidget* parent)
    : QWidget(parent), state_(std::move(state)), icons_(std::move(icons)) {
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
    icons_->preload(paths, devicePixelRatioF());
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
    input_ = new PaletteInput(PaletteState::maximumQuery, row);
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
    input_->onRefusal = [this] { state_->refuseLongQuery(); };
    input_->submit = [this] { state_->execute(); };
    input_->tab = [this] { state_->beginArguments(); };
    input_->move = [this](std::ptrdiff_t step) {
        state_->move(step);
        if (!state_->showsActions()) list_->announceSelection();
    };
    input_->copy = [this] {
        const TextView* const text = shownText();
        return text && text->copySelection();
    };
    // Of two selections nobody would know which one is copied.
    for (TextView* text : {&answer_->text(), &preview_->text()})
        text->onSelecting = [this] { input_->deselect(); };
}

TextView* PaletteView::shownText() const {
    if (content_->currentWidget() == preview_) return &preview_->text();
    if (content_->currentWidget() == answer_) return &answer_->text();
    return nullptr;
}

void PaletteView::refresh() {
    const PaletteScreen screen = PaletteScreen::of(*state_);
    refreshInputRow(screen);
    busyLine_->setBusy(screen.working);
    error_->show(texts::line(screen.error));
    argumentHelp_->show(texts::of(screen.argumentHelp));
    refreshContent(screen);
    footer_->show(screen.footer);
    refreshActions(screen);
}

void PaletteView::refreshInputRow(const PaletteScreen& screen) {
    input_->show(state_->query(), screen.placeholder);
    leading_->setVisible(screen.atHome);
    back_->setVisible(!screen.atHome);
    folder_->setVisible(screen.folder.has_value());
    if (!screen.folder) return;
    folder_->setText(texts::line(screen.folder->label));
    folder_->setToolTip(texts::line(screen.folder->path).toHtmlEscaped());
    folder_->updateGeometry();
}

void PaletteView::refreshContent(const PaletteScreen& screen) {
    list_->show(state_->results(), state_->selection());
    preview_->show(screen.preview);
    switch (screen.page) {
        case PaletteScreen::Page::list:
            content_->setCurrentWidget(list_);
            break;
        case PaletteScreen::Page::nothing:
            empty_->show(screen.nothing);
            content_->setCurrentWidget(empty_);
            break;
        case PaletteScreen::Page::answer:
            answer_->show(screen.answer, screen.answered, screen.answerStatus);
            content_->setCurrentWidget(answer_);
            break;
        case PaletteScreen::Page::preview:
            content_->setCurrentWidget(preview_);
            break;
    }
}

void PaletteView::refreshActions(const PaletteScreen& screen) {
    if (!screen.acting) return actions_->dismiss();
    actions_->show(screen.acting, state_->actionSelection());
    placeActions();
}

void PaletteView::placeActions() {
    const bool mirrored = layoutDirection() == Qt::RightToLeft;
    const QPoint corner(mirrored ? popoverMargin : width() - popoverMargin,
                        height() - Theme::footerHeight - popoverMargin);
    actions_->place(corner, corner.y() - Theme::inputHeight - popoverMargin);
}

void PaletteView::folderClicked() {
    if (!state_->fileDirectory()) return state_->chooseFileDirectory();
    auto* const menu = new QMenu(window());
    menu->setAttribute(Qt::WA_DeleteOnClose);
    connect(menu->addAction(QStringLiteral("All Folders")), &QAction::triggered, this,
            [this] { state_->setFileDirectory(std::nullopt); });
    connect(menu->addAction(QStringLiteral("Choose Folder…")), &QAction::triggered, this,
            [this] { state_->chooseFileDirectory(); });
    menu->popup(folder_->mapToGlobal(QPoint(0, folder_->height() + 4)));
}

void PaletteView::keyPressEvent(QKeyEvent* event) {
    TextView* const text = shownText();
    if (!text || !text->scroll(*event)) QWidget::keyPressEvent(event);
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
