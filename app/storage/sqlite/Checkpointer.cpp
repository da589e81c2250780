#include "app/storage/sqlite/Checkpointer.h"

#include <sqlite3.h>

#include <atomic>
#include <utility>

namespace velmora {
namespace {

// A batch of the file index appends about a thousand pages. When all of the log has been copied, the next commit begins
// it anew and waits for the disk, which should not happen at every batch.
constexpr int pagesWorthCopying = 4000;

// Where the disk cannot keep up, commits wait after all. One that deletes thousands of files appends up to 20,000 pages
// alone, and such commits come in pairs.
constexpr int pagesToWaitAt = 40'000;

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
        if (pages >= pagesToWaitAt) {
            sqlite3_wal_checkpoint_v2(connection, schema, SQLITE_CHECKPOINT_PASSIVE, nullptr, nullptr);
        } else if (pages >= pagesWorthCopying && !isCopying.exchange(true)) {
            spawn(pool, [self = shared_from_this()]() -> Task<> {
                const auto work = [&self] { self->copy(); };
                co_await self->actor.run(work);
            });
        }
    }

    /// Runs on: the actor.
    void copy() {
        isCopying = false;  // a commit from now on may want another
        if (isClosed) return;
        if (!handle) {
            sqlite3* opened = nullptr;
            constexpr int flags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX;
            const int code = sqlite3_open_v2(path.c_str(), &opened, flags, nullptr);
            std::unique_ptr<sqlite3, Closer> closing(opened);
            if (code != SQLITE_OK) return;
            handle = std::move(closing);
        }
        sqlite3_wal_checkpoint_v2(handle.get(), nullptr, SQLITE_CHECKPOINT_PASSIVE, nullptr, nullptr);
    }

    Executor pool;
    Actor actor;
    const std::string path;
    std::atomic<bool> isCopying{false};
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
