#pragma once

#include "app/services/applications/ApplicationService.h"
#include "platform/ApplicationBundles.h"

#include <memory>
#include <vector>

namespace velmora {

/// Finds the installed applications on the local disk.
///
/// Every root of the `ApplicationBundles` is walked with its sub-folders, hidden entries left out and bundles not
/// entered. Links to files count as the files; links to folders are followed once. Of two applications with one
/// identifier the one found later counts, and a hidden one takes those before it off the list.
///
/// Runs on: its own actor over the worker pool, one scan at a time. Must outlive its scans.
class ApplicationIndexer final : public ApplicationIndexing {
  public:
    ApplicationIndexer(const Executor& pool, std::shared_ptr<const ApplicationBundles> bundles);

    /// Never fails; what cannot be read is absent. Throws `Cancelled` only.
    [[nodiscard]] Task<std::vector<ApplicationRecord>> scan() override;

  private:
    Actor actor_;
    std::shared_ptr<const ApplicationBundles> bundles_;
};

}  // namespace velmora
