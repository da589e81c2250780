#include "app/services/StorageHealth.h"

#include "app/log/AppLog.h"
#include "app/services/files/FileIndexService.h"
#include "core/Assert.h"

#include <algorithm>
#include <utility>

namespace velmora {
namespace {

using namespace std::chrono_literals;

constexpr auto delay = 3s;

/// The tables' names as a list of words.
std::string named(const std::set<std::string>& tables) {
    std::string names;
    for (const std::string& table : tables)
        names += (names.empty() ? "" : ", ") + table;
    std::ranges::replace(names, '_', ' ');
    return names;
}

}  // namespace

StorageHealth::StorageHealth(MainExecutor main, Clock& clock, std::shared_ptr<Database> database,
                             std::shared_ptr<FileIndexService> fileIndex)
    : main_(std::move(main)), clock_(clock), database_(std::move(database)), fileIndex_(std::move(fileIndex)) {}

void StorageHealth::start() {
    VELMORA_ASSERT_MAIN();
    tellOfFormerRun();
    const auto main = main_;
    database_->onDamage([main, weak = weak_from_this()] {
        spawn(main, [weak]() -> Task<> {
            if (const auto self = weak.lock()) self->begin(true);
            co_return;
        });
    });
    begin(false);
}

void StorageHealth::stop() {
    VELMORA_ASSERT_MAIN();
    done_ = true;
    task_.cancel();
}

void StorageHealth::begin(bool metDamage) {
    if (done_) return;
    task_.cancel();
    task_ = spawn(main_, [weak = weak_from_this(), metDamage] { return look(weak, metDamage); });
}

Task<> StorageHealth::look(std::weak_ptr<StorageHealth> weak, bool metDamage) {
    auto self = weak.lock();
    if (!self) co_return;
    Clock& clock = self->clock_;
    self.reset();
    co_await clock.sleep(delay);
    self = weak.lock();
    if (!self) co_return;
    try {
        const FormerRun& former = self->database_->formerRun();
        Damage damage = co_await self->database_->findDamage(metDamage || !former.endedCleanly);
        damage.fileIndex |= former.lost.fileIndex;
        // In tables that are whole it can only be inside the full-text index, or among the pages not in use.
        if (metDamage && !damage.any()) damage.fileIndex = true;
        if (damage.any() && !std::exchange(self->done_, true)) co_await self->mend(std::move(damage));
    } catch (const AppError&) {
        AppLog::database.error("The database file could not be looked at");
    }
}

Task<> StorageHealth::mend(Damage damage) {
    AppLog::database.error("The database file is damaged");
    if (!damage.tables.empty()) found_.emit("Damaged in the local database: " + named(damage.tables) + ".");
    if (!damage.fileIndex) co_return;
    try {
        co_await database_->remakeFileIndex(damage.tables.empty());
    } catch (const AppError&) {
        found_.emit("The file index is damaged and could not be made anew.");
        co_return;
    }
    found_.emit("The file index was damaged. It is being made anew.");
    fileIndex_->rebuild();
}

void StorageHealth::tellOfFormerRun() {
    const FormerRun& former = database_->formerRun();
    if (former.leftNothing) {
        found_.emit("The local database was empty. What it had kept is lost.");
    } else if (!former.lost.tables.empty()) {
        found_.emit("Lost from the local database: " + named(former.lost.tables) + ".");
    }
}

}  // namespace velmora
