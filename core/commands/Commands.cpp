#include "core/commands/Commands.h"

namespace velmora {

std::string_view rawValue(ActionRole role) {
    switch (role) {
        case ActionRole::normal:
            return "normal";
        case ActionRole::write:
            return "write";
        case ActionRole::destructive:
            return "destructive";
    }
    return "normal";
}

std::optional<ActionRole> actionRole(std::string_view text) {
    for (const ActionRole role : {ActionRole::normal, ActionRole::write, ActionRole::destructive}) {
        if (rawValue(role) == text) return role;
    }
    return std::nullopt;
}

}  // namespace velmora
