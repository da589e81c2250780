#include "platform/linux/QtPasteboard.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QMimeData>
#include <memory>

namespace velmora {

bool QtPasteboard::setText(const std::string& text) {
    auto data = std::make_unique<QMimeData>();
    data->setText(QString::fromStdString(text));
    const QMimeData* const offered = data.get();
    QClipboard& clipboard = *QGuiApplication::clipboard();
    clipboard.setMimeData(data.release());
    // What the clipboard holds is our own object exactly when it has become ours.
    return clipboard.mimeData() == offered;
}

}  // namespace velmora
