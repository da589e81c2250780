#pragma once

#include "platform/Pasteboard.h"

#include <QMimeData>
#include <QPointer>

namespace velmora {

class ClipboardReading;

/// The desktop's clipboard (not the middle-click selection): written through the toolkit, read from the display server.
///
/// The toolkit would wait for the program that owns the contents, so that where the server does not let us read,
/// changes are counted while the toolkit tells of them, but contents are read only where they are our own.
class QtPasteboard final : public Pasteboard {
  public:
    /// `server` may be null; it must outlive the pasteboard.
    explicit QtPasteboard(ClipboardReading* server);

    [[nodiscard]] std::int64_t changeCount() const override;
    [[nodiscard]] Task<std::vector<std::string>> types() override;
    [[nodiscard]] Task<std::optional<std::string>> string(std::string type, std::size_t maximumBytes) override;
    [[nodiscard]] bool setText(const std::string& text) override;

  private:
    [[nodiscard]] bool holdsOwnText() const;

    ClipboardReading* server_;
    std::int64_t changes_ = 0;  // as far as the toolkit tells
    QPointer<QMimeData> offered_;
    QObject context_;  // ends the connection that counts
};

}  // namespace velmora
