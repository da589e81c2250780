#include "app/services/quick/Quicklinks.h"

#include "app/log/AppLog.h"
#include "core/AppError.h"
#include "core/text/Text.h"
#include "core/text/UUID.h"
#include "platform/Workspace.h"

#include <optional>

namespace velmora {
namespace {

Task<> open(Workspace& workspace, std::string address) {
    URL url = Quicklinks::validatedURL(address);
    try {
        co_await workspace.openURL(std::move(url.text));
    } catch (const Cancelled&) {
        throw;
    } catch (...) {
        // Whether anything came up is between the user and the desktop.
        AppLog::command.error("The workspace refused to open a quicklink");
    }
}

/// "www.example.com" is found by each of its labels.
void appendLabels(std::vector<std::string>& keywords, std::string_view host) {
    while (!host.empty()) {
        std::string_view label = host.substr(0, host.find('.'));
        host.remove_prefix(std::min(label.size() + 1, host.size()));
        label.remove_prefix(std::min(label.find_first_not_of('-'), label.size()));
        label = label.substr(0, label.find_last_not_of('-') + 1);
        if (!label.empty()) keywords.emplace_back(label);
    }
}

CommandResult makeResult(const Quicklink& link, Workspace& workspace) {
    const std::optional<URL> url = URL::parse(link.url);
    CommandResult result;
    result.id = std::string(QuicklinkCommand::prefix) + link.id;
    result.title = text::validUtf8(link.title);
    result.subtitle = url && !url->host.empty() ? url->host : text::validUtf8(link.url);
    result.keywords = text::lowercasedWords(link.title);
    appendLabels(result.keywords, *result.subtitle);
    result.icon = CommandIcon::symbol("link");
    result.actions.push_back({"open", "Open Quicklink", "↵", ActionRole::normal,
                              [&workspace, address = link.url] { return open(workspace, address); }});
    return result;
}

}  // namespace

URL Quicklinks::validatedURL(std::string_view text) {
    std::optional<URL> url = URL::parse(text::trimmed(text));
    if (!url || (url->scheme != "http" && url->scheme != "https" && url->scheme != "file")) {
        throw AppError::configuration("Quicklinks must use http, https or file addresses.");
    }
    return *std::move(url);
}

Quicklink Quicklinks::make(std::string_view title, std::string_view address) {
    const std::string_view name = text::trimmed(title);
    if (name.empty()) throw AppError::configuration("Give the quicklink a name.");
    return {newUUID(), std::string(name), validatedURL(address).text};
}

QuicklinkCommand::QuicklinkCommand(const Quicklink& link, Workspace& workspace)
    : StaticCommand(makeResult(link, workspace)) {}

}  // namespace velmora
