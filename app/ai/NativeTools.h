#pragma once

#include "app/storage/fileindex/FileIndexRepository.h"
#include "core/assistant/Tools.h"

#include <functional>
#include <memory>
#include <string>

namespace velmora {

class ApplicationService;
class FileIndexService;
class FileService;
class Pasteboard;
class ShortcutsService;
class SystemService;

/// A tool of the program's own.
class NativeTool final : public Tool {
  public:
    using Operation = std::function<Task<JSONValue>(JSONValue input)>;

    NativeTool(ToolDefinition definition, Operation operation)
        : definition_(std::move(definition)), operation_(std::move(operation)) {}

    [[nodiscard]] const ToolDefinition& definition() const override { return definition_; }
    [[nodiscard]] Task<ToolResult> execute(JSONValue input) override;

  private:
    ToolDefinition definition_;
    Operation operation_;
};

/// What the native tools work with. None of them sees the clipboard history or the preferences.
struct NativeToolServices {
    std::shared_ptr<ApplicationService> applications;
    std::shared_ptr<FileService> files;
    std::shared_ptr<FileIndexService> fileIndex;
    FileIndexRepository indexedFiles;
    std::shared_ptr<ShortcutsService> shortcuts;
    std::shared_ptr<SystemService> system;
    Pasteboard& pasteboard;  ///< must outlive the tools
    std::string home;
};

/// Registers the tools over the program's own services. Fails with `AppError` (configuration) at the first name that is
/// taken.
void registerNativeTools(ToolRegistry& registry, const NativeToolServices& services);

}  // namespace velmora
