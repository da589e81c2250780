#include "platform/qt/QtMainExecutor.h"

#include <QCoreApplication>
#include <QObject>
#include <mutex>

namespace velmora {
namespace {

QEvent::Type pieceType() {
    static const auto type = static_cast<QEvent::Type>(QEvent::registerEventType());
    return type;
}

}  // namespace

class QtMainExecutor::Loop {
  public:
    void post(std::unique_ptr<Piece> piece) {
        const std::lock_guard lock(mutex_);
        // The event belongs to Qt from here on, which deletes it with the receiver if it is never delivered.
        if (receiver_) QCoreApplication::postEvent(receiver_.get(), piece.release());
    }

    void close() {
        std::unique_ptr<Receiver> receiver;
        const std::lock_guard lock(mutex_);
        receiver.swap(receiver_);
    }

    boost::asio::execution_context context;

  private:
    class Receiver final : public QObject {
      protected:
        void customEvent(QEvent* event) override { static_cast<Piece*>(event)->run(); }
    };

    std::mutex mutex_;
    std::unique_ptr<Receiver> receiver_ = std::make_unique<Receiver>();
};

QtMainExecutor::Piece::Piece() : QEvent(pieceType()) {}

QtMainExecutor::QtMainExecutor() : loop_(std::make_shared<Loop>()) {}

QtMainExecutor::~QtMainExecutor() {
    loop_->close();
}

MainExecutor QtMainExecutor::executor() const {
    return Handle(loop_);
}

void QtMainExecutor::post(Loop& loop, std::unique_ptr<Piece> piece) {
    loop.post(std::move(piece));
}

boost::asio::execution_context& QtMainExecutor::context(Loop& loop) {
    return loop.context;
}

}  // namespace velmora
