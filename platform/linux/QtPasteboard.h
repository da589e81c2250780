#pragma once

#include "platform/Pasteboard.h"

#include <QMimeData>
#include <QPointer>

namespace velmora {

class X11Session;

/// The desktop's clipboard (not the middle-click selection): written through the toolkit, read through the X server.
///
/// The toolkit would wait for the program that owns the contents, so that without an X server changes are counted while
/// it tells of them, but contents are read only where they are our own.
class QtPasteboard final : public Pasteboard {
  public:
    /// `session` may be null; it must outlive the pasteboard.
    explicit QtPasteboard(X11Session* session);

    [[nodiscard]] std::int64_t changeCount() const override;
    [[nodiscard]] Task<std::vector<std::string>> types() override;
    [[nodiscard]] Task<std::optional<std::string>> string(std::string type, std::size_t maximumBytes) override;
    [[nodiscard]] bool setText(const std::string& text) override;

  private:
    [[nodiscard]] bool holdsOwnText() const;

    X11Session* session_;
    std::int64_t changes_ = 0;  // as far as the toolkit tells
    QPointer<QMimeData> offered_;
    QObject context_;  // ends the connection that counts
};

}  // namespace velmora
