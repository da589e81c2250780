#include "platform/qt/AlertDialog.h"

#include <QAccessible>
#include <QApplication>
#include <QHBoxLayout>
#include <QIcon>
#include <QLabel>
#include <QPainter>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QScreen>
#include <QStyle>
#include <QTextBlock>
#include <QVBoxLayout>
#include <utility>

namespace velmora {
namespace {

constexpr int textWidth = 352;
constexpr int longestDetailHeight = 240;
constexpr int iconSize = 48;
constexpr double cornerRadius = 12;
constexpr float edgeShare = 0.25F;
constexpr int allow = QDialog::Accepted;
constexpr Qt::WindowFlags sheetFlags = Qt::Dialog | Qt::FramelessWindowHint;
constexpr Qt::WindowFlags framedFlags =
    Qt::Dialog | Qt::CustomizeWindowHint | Qt::WindowTitleHint | Qt::WindowCloseButtonHint;

QIcon icon(AlertDialog::Kind kind, const QStyle& style) {
    const bool warning = kind == AlertDialog::Kind::confirmation;
    return QIcon::fromTheme(QLatin1String(warning ? "dialog-warning" : "dialog-error"),
                            style.standardIcon(warning ? QStyle::SP_MessageBoxWarning : QStyle::SP_MessageBoxCritical));
}

}  // namespace

AlertDialog::AlertDialog(Kind kind, const QString& title, const QString& detail, QWidget* parent, bool translucent)
    : QDialog(parent, parent ? sheetFlags : framedFlags) {
    setWindowTitle(QStringLiteral("Velmora"));
    setAccessibleName(title);
    setAccessibleDescription(detail);
    setWindowModality(parent ? Qt::WindowModal : Qt::ApplicationModal);
    if (!parent || parent->windowFlags().testFlag(Qt::WindowStaysOnTopHint)) setWindowFlag(Qt::WindowStaysOnTopHint);

    auto* const picture = new QLabel(this);
    picture->setPixmap(icon(kind, *style()).pixmap(QSize(iconSize, iconSize), devicePixelRatioF()));
    picture->setFixedSize(iconSize, iconSize);

    auto* const heading = new QLabel(this);
    heading->setTextFormat(Qt::PlainText);
    heading->setText(title);
    heading->setWordWrap(true);
    heading->setFixedWidth(textWidth);
    QFont bold = heading->font();
    bold.setWeight(QFont::DemiBold);
    bold.setPixelSize(15);
    heading->setFont(bold);

    auto* const texts = new QVBoxLayout;
    texts->setSpacing(8);
    texts->addWidget(heading);
    if (!detail.isEmpty()) texts->addWidget(detailWidget(detail));
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
    column->addWidget(buttonRow(kind));
    if (parent) becomeSheet(*parent, translucent);
}

AlertDialog::~AlertDialog() {
    answer(Answer::dismissed);
}

void AlertDialog::becomeSheet(const QWidget& parent, bool translucent) {
    setAttribute(Qt::WA_TranslucentBackground, translucent);
    ensurePolished();
    adjustSize();
    const QRect below = parent.frameGeometry();
    move(below.center() - QPoint(width() / 2, height() / 2));
}

QWidget* AlertDialog::detailWidget(const QString& detail) {
    // A text view rather than a label: it breaks words that are too long and scrolls what would push the buttons away.
    auto* const view = new QPlainTextEdit(this);
    view->setPlainText(detail);
    view->setReadOnly(true);
    view->setFrameShape(QFrame::NoFrame);
    view->setWordWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    view->setFocusPolicy(Qt::NoFocus);
    view->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    view->document()->setDocumentMargin(0);
    view->setAccessibleName(detail);
    QPalette colours = view->palette();
    colours.setBrush(QPalette::Base, Qt::transparent);
    view->setPalette(colours);
    view->setFixedWidth(textWidth);
    view->document()->setTextWidth(textWidth);
    int lines = 0;
    for (QTextBlock block = view->document()->begin(); block.isValid() && lines < 1000; block = block.next()) {
        view->document()->documentLayout()->blockBoundingRect(block);
        lines += block.layout()->lineCount();
    }
    const int height = lines * view->fontMetrics().lineSpacing() + 4;
    view->setVerticalScrollBarPolicy(height > longestDetailHeight ? Qt::ScrollBarAsNeeded : Qt::ScrollBarAlwaysOff);
    view->setFixedHeight(std::min(height, longestDetailHeight));
    return view;
}

QWidget* AlertDialog::buttonRow(Kind kind) {
    auto* const row = new QWidget(this);
    auto* const buttons = new QHBoxLayout(row);
    buttons->setContentsMargins(0, 0, 0, 0);
    buttons->setSpacing(8);
    buttons->addStretch();
    const auto add = [&](const QString& text, int result) {
        auto* const button = new QPushButton(text, row);
        button->setMinimumSize(96, 32);
        // Return always means the default button, even while the focus is on the other one.
        button->setAutoDefault(false);
        connect(button, &QPushButton::clicked, this, [this, result] { done(result); });
        buttons->addWidget(button);
        return button;
    };
    QPushButton* const first =
        add(kind == Kind::confirmation ? QStringLiteral("Cancel") : QStringLiteral("OK"), QDialog::Rejected);
    if (kind == Kind::confirmation) add(QStringLiteral("Allow"), allow);
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
    QDialog::showEvent(event);
    QAccessibleEvent alert(this, QAccessible::Alert);
    QAccessible::updateAccessibility(&alert);
}

}  // namespace velmora
