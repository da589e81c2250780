#pragma once

#include "app/storage/sqlite/Database.h"
#include "core/async/Clock.h"
#include "core/async/Signal.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace velmora {

class FileIndexService;

/// Looks after the database's file: reads it in the background, all of it when the last run did not end cleanly or when
/// an operation has met damage, has a damaged file index made anew from the disk, and tells of what else is damaged or
/// has gone. Mends once in a run.
///
/// Runs on: the main thread; the reading elsewhere. Lives in a `shared_ptr`. `clock` must outlive it. Fails with:
/// nothing; what cannot be mended is told.
class StorageHealth final : public std::enable_shared_from_this<StorageHealth> {
  public:
    StorageHealth(MainExecutor main, Clock& clock, std::shared_ptr<Database> database,
                  std::shared_ptr<FileIndexService> fileIndex);
    StorageHealth(const StorageHealth&) = delete;
    StorageHealth& operator=(const StorageHealth&) = delete;

    /// Begins some seconds later, when the program has come up. Call once.
    void start();

    void stop();

    /// Called with a sentence for the user for each finding.
    [[nodiscard]] Subscription onFinding(std::function<void(const std::string& sentence)> callback) {
        return found_.subscribe(std::move(callback));
    }

  private:
    void begin(bool metDamage);
    [[nodiscard]] static Task<> look(std::weak_ptr<StorageHealth> weak, bool metDamage);
    [[nodiscard]] Task<> mend(Damage damage);
    void tellOfFormerRun();

    MainExecutor main_;
    Clock& clock_;
    std::shared_ptr<Database> database_;
    std::shared_ptr<FileIndexService> fileIndex_;
    TaskHandle task_;
    bool done_ = false;  // it mends, has mended, or is to do nothing any more
    Signal<const std::string&> found_;
};

}  // namespace velmora
