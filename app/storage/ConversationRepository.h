#pragma once

#include "app/storage/sqlite/Database.h"
#include "core/assistant/AIModels.h"
#include "core/async/Clock.h"

#include <memory>
#include <utility>

namespace velmora {

/// The finished conversations with the assistant.
///
/// Runs on: any task; long texts are encoded on the pool. Fails with: `AppError::database`.
class ConversationRepository {
  public:
    /// `clock` must outlive the repository.
    ConversationRepository(std::shared_ptr<Database> database, Executor pool, const Clock& clock)
        : database_(std::move(database)), pool_(std::move(pool)), clock_(&clock) {}

    /// Adds what the user and the assistant said. Instructions and what tools answered are not kept.
    [[nodiscard]] Task<> add(Conversation conversation) const;

  private:
    std::shared_ptr<Database> database_;
    Executor pool_;
    const Clock* clock_;
};

}  // namespace velmora
