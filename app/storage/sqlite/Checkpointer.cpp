#include "app/storage/sqlite/Checkpointer.h"

#include <sqlite3.h>

#include <atomic>
#include <mutex>
#include <utility>

namespace velmora {
namespace {

// A batch of the file index appends about a thousand pages. When all of the log has been copied, the next commit begins
// it anew and waits for the disk, which should not happen at every batch.
constexpr int pagesWorthCopying = 8000;

// While batches keep coming, a copy in the background never has the last of them, and only when all of the log has been
// copied is it begun anew. So the commit itself copies what few pages are left.
constexpr int pagesToFinish = 4000;

// Where the disk cannot keep up, commits wait for it after all.
constexpr int pagesToWaitAt = 24'000;

struct Closer {
    void operator()(sqlite3* connection) const noexcept { sqlite3_close_v2(connection); }
};

}  // namespace

struct Checkpointer::State : std::enable_shared_from_this<State> {
    State(const Executor& where, std::string file) : pool(where), actor(where), path(std::move(file)) {}

    /// Called within each commit, on the thread that commits.
    static int committed(void* self, sqlite3* connection, const char* schema, int pages) {
        static_cast<State*>(self)->committed(connection, schema, pages);
        return SQLITE_OK;
    }

    void committed(sqlite3* connection, const char* schema, int pages) {
        if (pages < pagesWorthCopying) {
            copied = 0;  // of a log that has been begun anew
            return;
        }
        if (pages >= pagesToWaitAt || (copied > 0 && pages - copied <= pagesToFinish)) {
            std::unique_lock turn(copying, std::defer_lock);
            pages >= pagesToWaitAt ? turn.lock() : static_cast<void>(turn.try_lock());
            if (!turn) return;
            sqlite3_wal_checkpoint_v2(connection, schema, SQLITE_CHECKPOINT_PASSIVE, nullptr, nullptr);
        } else if (!isCopying.exchange(true)) {
            spawn(pool, [self = shared_from_this()]() -> Task<> {
                const auto work = [&self] { self->copy(); };
                co_await self->actor.run(work);
            });
        }
    }

    /// Runs on: the actor.
    void copy() {
        if (!isClosed && open()) {
            const std::lock_guard turn(copying);
            int inFile = 0;
            sqlite3_wal_checkpoint_v2(handle.get(), nullptr, SQLITE_CHECKPOINT_PASSIVE, nullptr, &inFile);
            copied = inFile;
        }
        isCopying = false;
    }

    /// Runs on: the actor. False when there is no connection yet and none can be had.
    bool open() {
        if (handle) return true;
        sqlite3* opened = nullptr;
        constexpr int flags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX;
        const int code = sqlite3_open_v2(path.c_str(), &opened, flags, nullptr);
        std::unique_ptr<sqlite3, Closer> closing(opened);
        // A connection knows of no log, and has nothing to copy, until it has read.
        const char* const read = "SELECT 1 FROM sqlite_schema LIMIT 1";
        if (code != SQLITE_OK || sqlite3_exec(opened, read, nullptr, nullptr, nullptr) != SQLITE_OK) return false;
        handle = std::move(closing);
        return true;
    }

    Executor pool;
    Actor actor;
    const std::string path;
    std::atomic<bool> isCopying{false};
    std::atomic<int> copied{0};               // of the log's pages, by the last copy in the background
    std::mutex copying;                       // one copies at a time
    std::unique_ptr<sqlite3, Closer> handle;  // the actor's
    bool isClosed = false;                    // the actor's
};

Checkpointer::Checkpointer(const Executor& pool, std::string path)
    : state_(std::make_shared<State>(pool, std::move(path))) {}

void Checkpointer::follow(sqlite3* connection) {
    sqlite3_wal_hook(connection, &State::committed, state_.get());
}

Task<> Checkpointer::close() {
    const auto state = state_;
    const auto work = [&] {
        state->handle.reset();
        state->isClosed = true;
    };
    co_await state->actor.run(work);
}

}  // namespace velmora
