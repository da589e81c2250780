#include "platform/qt/QtPasteboard.h"

#include "platform/ClipboardReading.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QMimeData>
#include <memory>

namespace velmora {
namespace {

QClipboard& clipboard() {
    return *QGuiApplication::clipboard();
}

}  // namespace

QtPasteboard::QtPasteboard(ClipboardReading* server) : server_(server) {
    QObject::connect(&clipboard(), &QClipboard::dataChanged, &context_, [this] { ++changes_; });
}

std::int64_t QtPasteboard::changeCount() const {
    return server_ ? server_->clipboardChanges() : changes_;
}

bool QtPasteboard::holdsOwnText() const {
    // What the clipboard holds is our own object exactly when it has become ours.
    return offered_ && clipboard().mimeData() == offered_.data();
}

Task<std::vector<std::string>> QtPasteboard::types() {
    if (server_) co_return co_await server_->clipboardTypes();
    std::vector<std::string> known;
    if (holdsOwnText()) known.emplace_back(pasteboardType::text);
    co_return known;
}

Task<std::optional<std::string>> QtPasteboard::string(std::string type, std::size_t maximumBytes) {
    if (server_) co_return co_await server_->clipboardString(std::move(type), maximumBytes);
    if (type != pasteboardType::text || !holdsOwnText()) co_return std::nullopt;
    co_return clipboard().text().toStdString().substr(0, maximumBytes + 1);
}

bool QtPasteboard::setText(const std::string& text) {
    auto data = std::make_unique<QMimeData>();
    data->setText(QString::fromStdString(text));
    offered_ = data.get();
    clipboard().setMimeData(data.release());
    return holdsOwnText();
}

}  // namespace velmora
