#include "platform/qt/AlertDialog.h"

#include "core/text/Invisible.h"
#include "toolkit/TextView.h"

#include <QAccessible>
#include <QHBoxLayout>
#include <QIcon>
#include <QKeyEvent>
#include <QLabel>
#include <QPainter>
#include <QPushButton>
#include <QScreen>
#include <QStyle>
#include <QVBoxLayout>
#include <QWindow>
#include <algorithm>
#include <utility>

namespace velmora {
namespace {

constexpr int textWidth = 420;
constexpr int highestTitle = 96;
constexpr int highestDetail = 300;
constexpr int lowestDetail = 60;
constexpr int heightBesides = 220;  // of what is not the detail
constexpr int iconSize = 48;
constexpr int titleFont = 15;
constexpr double cornerRadius = 12;
constexpr float edgeShare = 0.25F;
constexpr int allow = QDialog::Accepted;
constexpr Qt::WindowFlags sheetFlags = Qt::Dialog | Qt::FramelessWindowHint;
constexpr Qt::WindowFlags framedFlags =
    Qt::Dialog | Qt::CustomizeWindowHint | Qt::WindowTitleHint | Qt::WindowCloseButtonHint;

QIcon icon(AlertDialog::Kind kind, const QStyle& style) {
    const bool warning = kind == AlertDialog::Kind::confirmation;
    return style.standardIcon(warning ? QStyle::SP_MessageBoxWarning : QStyle::SP_MessageBoxCritical);
}

}  // namespace

AlertDialog::AlertDialog(Kind kind, const std::string& title, const std::string& detail, QWidget* parent, Look look)
    : QDialog(parent, parent ? sheetFlags : framedFlags) {
    setWindowTitle(QStringLiteral("Velmora"));
    setWindowModality(parent ? Qt::WindowModal : Qt::ApplicationModal);
    if (!parent || parent->windowFlags().testFlag(Qt::WindowStaysOnTopHint)) setWindowFlag(Qt::WindowStaysOnTopHint);
    hesitation_.setSingleShot(true);
    hesitation_.setInterval(look.hesitation);
    connect(&hesitation_, &QTimer::timeout, this, [this] { allow_->setEnabled(true); });

    auto* const picture = new QLabel(this);
    picture->setPixmap(icon(kind, *style()).pixmap(QSize(iconSize, iconSize), devicePixelRatioF()));
    picture->setFixedSize(iconSize, iconSize);

    QFont bold = font();
    bold.setWeight(QFont::DemiBold);
    bold.setPixelSize(titleFont);
    title_ = textView(title, bold, highestTitle);
    const int room = (parent ? parent : this)->screen()->availableGeometry().height() - heightBesides;
    detail_ = textView(detail, font(), std::clamp(room, lowestDetail, highestDetail));
    detail_->setVisible(!detail.empty());
    setAccessibleName(QString::fromStdString(*title_->text()));
    setAccessibleDescription(QString::fromStdString(*detail_->text()));

    auto* const texts = new QVBoxLayout;
    texts->setSpacing(8);
    texts->addWidget(title_);
    texts->addWidget(detail_);
    texts->addStretch();
    auto* const top = new QHBoxLayout;
    top->setSpacing(16);
    top->addWidget(picture, 0, Qt::AlignTop);
    top->addLayout(texts);
    auto* const column = new QVBoxLayout(this);
    column->setContentsMargins(24, 24, 24, 20);
    column->setSpacing(20);
    column->setSizeConstraint(QLayout::SetFixedSize);
    column->addLayout(top);
    column->addLayout(buttonRow(kind));
    if (parent) becomeSheet(*parent, look.translucent);
}

AlertDialog::~AlertDialog() {
    answer(Answer::dismissed);
}

void AlertDialog::becomeSheet(const QWidget& parent, bool translucent) {
    setAttribute(Qt::WA_TranslucentBackground, translucent);
    ensurePolished();
    adjustSize();
    QRect place = rect();
    place.moveCenter(parent.geometry().center());  // its frame may not be known yet
    const QRect area = parent.screen()->availableGeometry();
    place.moveTop(std::max(std::min(place.top(), area.bottom() - place.height()), area.top()));
    move(place.topLeft());
}

TextView* AlertDialog::textView(const std::string& text, const QFont& font, int highest) {
    auto* const view = new TextView(this);
    view->setFont(font);
    view->setText(std::make_shared<const std::string>(text::revealed(text)));
    view->setAccessibleName(QString::fromStdString(*view->text()));
    const int height = view->heightAt(textWidth, highest);
    if (height < highest) view->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    view->setFixedSize(textWidth, height);
    return view;
}

QLayout* AlertDialog::buttonRow(Kind kind) {
    auto* const row = new QHBoxLayout;
    row->setSpacing(8);
    row->addStretch();
    const auto add = [&](const QString& text, int result) {
        auto* const button = new QPushButton(text, this);
        button->setMinimumSize(96, 32);
        button->setAutoDefault(false);
        button->installEventFilter(this);
        connect(button, &QPushButton::clicked, this, [this, result] { done(result); });
        row->addWidget(button);
        return button;
    };
    QPushButton* const first =
        add(kind == Kind::confirmation ? QStringLiteral("Cancel") : QStringLiteral("OK"), QDialog::Rejected);
    if (kind == Kind::confirmation) {
        allow_ = add(QStringLiteral("Allow"), allow);
        allow_->setEnabled(false);
    }
    first->setDefault(true);
    first->setFocus();
    return row;
}

void AlertDialog::done(int result) {
    QDialog::done(result);
    answer(result == allow ? Answer::allowed : Answer::dismissed);
}

void AlertDialog::answer(Answer answer) {
    if (const auto callback = std::exchange(onAnswer, nullptr)) callback(answer);
}

/// Takes "Allow" back until the question has been in front for long enough.
void AlertDialog::hesitate() {
    if (!allow_) return;
    allow_->setEnabled(false);
    if (isActiveWindow() && windowHandle() && windowHandle()->isExposed()) {
        hesitation_.start();
    } else {
        hesitation_.stop();
    }
}

bool AlertDialog::event(QEvent* event) {
    if (event->type() == QEvent::WindowActivate || event->type() == QEvent::WindowDeactivate) hesitate();
    return QDialog::event(event);
}

bool AlertDialog::eventFilter(QObject* watched, QEvent* event) {
    if (watched == windowHandle()) {
        if (event->type() == QEvent::Expose) hesitate();
    } else if (event->type() == QEvent::KeyPress) {
        return take(*static_cast<QKeyEvent*>(event));
    }
    return QDialog::eventFilter(watched, event);
}

void AlertDialog::keyPressEvent(QKeyEvent* event) {
    if (!take(*event)) QDialog::keyPressEvent(event);
}

/// The keys that are the dialog's, whichever button has the focus.
bool AlertDialog::take(const QKeyEvent& key) {
    if (hesitation_.isActive()) hesitation_.start();
    if (key.matches(QKeySequence::Copy)) return detail_->copySelection() || title_->copySelection();
    if (key.matches(QKeySequence::SelectAll)) {
        detail_->selectAll();
        return true;
    }
    if (detail_->scroll(key)) return true;
    const bool isReturn = key.key() == Qt::Key_Return || key.key() == Qt::Key_Enter;
    // A key that is still held down was pressed for what is below.
    if (key.isAutoRepeat()) return isReturn || key.key() == Qt::Key_Escape || key.key() == Qt::Key_Space;
    // Some styles would let it press the button that has the focus.
    if (isReturn) reject();
    return isReturn;
}

void AlertDialog::paintEvent(QPaintEvent* event) {
    if (!windowFlags().testFlag(Qt::FramelessWindowHint)) return QDialog::paintEvent(event);
    const double radius = testAttribute(Qt::WA_TranslucentBackground) ? cornerRadius : 0;
    QColor edge = palette().color(QPalette::WindowText);
    edge.setAlphaF(edgeShare);
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(edge, 1));
    painter.setBrush(palette().window());
    painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), radius, radius);
}

void AlertDialog::showEvent(QShowEvent* event) {
    windowHandle()->installEventFilter(this);
    QDialog::showEvent(event);
    QAccessibleEvent alert(this, QAccessible::Alert);
    QAccessible::updateAccessibility(&alert);
}

}  // namespace velmora
