#include "platform/linux/http/CurlHttpClient.h"

#include "platform/linux/http/CurlLibrary.h"
#include "platform/linux/http/Transfer.h"

#include <algorithm>
#include <exception>
#include <limits>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

namespace velmora {
namespace {

using TransferPointer = std::shared_ptr<Transfer>;

}  // namespace

/// The thread and what it has been given to do.
class CurlHttpClient::Worker {
  public:
    Worker() = default;
    ~Worker() { stop(); }
    Worker(const Worker&) = delete;
    Worker& operator=(const Worker&) = delete;

    void begin(TransferPointer transfer) {
        const std::lock_guard lock(mutex_);
        if (stops_) return;
        arrivals_.push_back(std::move(transfer));
        if (hasFailed_) return fail(arrivals_);
        if (!thread_.joinable()) thread_ = std::thread([this] { run(); });
        wake();
    }

    void withdraw(Transfer& transfer) {
        transfer.isUnwanted = true;
        const std::lock_guard lock(mutex_);
        wake();
    }

    void stop() {
        {
            const std::lock_guard lock(mutex_);
            stops_ = true;
            wake();
        }
        if (thread_.joinable()) thread_.join();
        arrivals_.clear();
    }

  private:
    void wake() {
        if (multi_) curl_->multi_wakeup(multi_);
    }

    void run() {
        curl_ = CurlLibrary::load();
        CURLM* const multi = curl_ ? curl_->multi_init() : nullptr;
        if (!publish(multi)) return;
        while (takeArrivals()) {
            dropUnwanted();
            int running = 0;
            curl_->multi_perform(multi_, &running);
            finishDone();
            curl_->multi_poll(multi_, nullptr, 0, std::numeric_limits<int>::max(), nullptr);
        }
        for (const TransferPointer& transfer : running_)
            curl_->multi_remove_handle(multi_, transfer->handle());
        running_.clear();
        publish(nullptr);
        curl_->multi_cleanup(multi);
    }

    /// Tells the other threads what wakes this one. Without anything nothing is sent, now or later.
    bool publish(CURLM* multi) {
        const std::lock_guard lock(mutex_);
        multi_ = multi;
        hasFailed_ = !multi;
        if (hasFailed_ && !stops_) fail(arrivals_);
        return !hasFailed_;
    }

    static void fail(std::vector<TransferPointer>& transfers) {
        for (const TransferPointer& transfer : transfers)
            transfer->finish(CURLE_FAILED_INIT);
        transfers.clear();
    }

    /// False when the thread is to end.
    bool takeArrivals() {
        std::vector<TransferPointer> arrived;
        {
            const std::lock_guard lock(mutex_);
            if (stops_) return false;
            arrived.swap(arrivals_);
        }
        for (const TransferPointer& transfer : arrived) {
            CURL* const handle = transfer->isUnwanted ? nullptr : transfer->prepare(*curl_);
            if (handle && curl_->multi_add_handle(multi_, handle) == CURLM_OK) {
                running_.push_back(transfer);
            } else {
                transfer->finish(CURLE_FAILED_INIT);
            }
        }
        return true;
    }

    void dropUnwanted() {
        std::erase_if(running_, [this](const TransferPointer& transfer) {
            if (transfer->isUnwanted) curl_->multi_remove_handle(multi_, transfer->handle());
            return transfer->isUnwanted.load();
        });
    }

    void finishDone() {
        int left = 0;
        while (const CURLMsg* const message = curl_->multi_info_read(multi_, &left)) {
            const CURLcode code = message->data.result;
            CURL* const handle = message->easy_handle;
            const auto done =
                std::ranges::find(running_, handle, [](const auto& transfer) { return transfer->handle(); });
            curl_->multi_remove_handle(multi_, handle);
            (*done)->finish(code);
            running_.erase(done);
        }
    }

    std::mutex mutex_;
    std::vector<TransferPointer> arrivals_;
    const CurlLibrary* curl_ = nullptr;
    CURLM* multi_ = nullptr;  ///< written under the lock, by the thread
    bool stops_ = false;
    bool hasFailed_ = false;
    std::vector<TransferPointer> running_;  ///< the thread's own
    std::thread thread_;
};

CurlHttpClient::CurlHttpClient() : worker_(std::make_shared<Worker>()) {}

CurlHttpClient::~CurlHttpClient() {
    stop();
}

void CurlHttpClient::stop() {
    worker_->stop();
}

Task<HttpResponse> CurlHttpClient::send(HttpRequest request) {
    /// However the wait ends, the transfer ends with it.
    struct Wait {
        std::shared_ptr<Worker> worker;
        std::weak_ptr<Transfer> transfer;

        ~Wait() {
            if (const TransferPointer running = transfer.lock()) worker->withdraw(*running);
        }
    };
    Wait wait{worker_, {}};
    const auto ask = [&](const Completion<HttpResponse>& done) {
        auto transfer = std::make_shared<Transfer>(std::move(request), done);
        wait.transfer = transfer;
        wait.worker->begin(std::move(transfer));
    };
    co_return co_await Completion<HttpResponse>::await(ask);
}

}  // namespace velmora
