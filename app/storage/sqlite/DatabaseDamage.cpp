// The part of the database that meets, finds and mends damage in its file.

#include "app/storage/sqlite/Database.h"
#include "app/storage/sqlite/Interruption.h"

#include <utility>

namespace velmora {

/// After a failure of `connection`.
void Database::noteDamage(sqlite3* connection) {
    if (!connection || !metDamage(connection)) return;
    std::function<void()> tell;
    {
        const std::lock_guard lock(mutex_);
        metDamage_ = true;
        tell = std::exchange(onDamage_, nullptr);
    }
    if (tell) tell();
}

void Database::onDamage(std::function<void()> callback) {
    {
        const std::lock_guard lock(mutex_);
        if (!metDamage_) {
            onDamage_ = std::move(callback);
            return;
        }
    }
    callback();
}

Task<Damage> Database::findDamage(bool thorough) {
    const auto self = shared_from_this();
    Actor beside(pool_);
    const auto work = [&](std::stop_token stop) {
        const auto handle = openFile(path_);
        const Interruption interruption(handle.get(), std::move(stop));
        return velmora::findDamage(handle.get(), thorough);
    };
    co_return co_await beside.run(work);
}

Task<> Database::remakeFileIndex(bool wholeOtherwise) {
    const auto work = [&] { velmora::remakeFileIndex(writer_.get(), wholeOtherwise); };
    co_await writing(work);
}

}  // namespace velmora
