#include "platform/linux/watch/WatchedFolders.h"

#include <algorithm>

namespace velmora {

std::size_t WatchedFolders::hash(const MarkKey& mark) {
    return (mark.low ^ (mark.high << 1)) * 0x9E3779B97F4A7C15U;
}

std::size_t WatchedFolders::hash(const NamedChild& child) {
    return std::hash<std::string_view>{}(child.name) ^ (child.parent * 0x9E3779B97F4A7C15U);
}

WatchedFolders::WatchedFolders()
    : byMark_(0, ByMark{&nodes_}, ByMark{&nodes_}), byName_(0, ByName{&nodes_}, ByName{&nodes_}) {}

WatchedFolders::Index WatchedFolders::add(Index parent, std::string_view name, MarkKey mark) {
    Index index = 0;
    if (free_.empty()) {
        index = static_cast<Index>(nodes_.size());
        nodes_.emplace_back();
    } else {
        index = free_.back();
        free_.pop_back();
    }
    Node& node = nodes_[index];
    node = Node{mark, std::string(name), parent, none, none, none, false, true};
    if (parent != none) {
        node.next = nodes_[parent].firstChild;
        if (node.next != none) nodes_[node.next].previous = index;
        nodes_[parent].firstChild = index;
    }
    byMark_.insert(index);
    byName_.insert(index);
    return index;
}

WatchedFolders::Index WatchedFolders::find(MarkKey mark) const {
    const auto found = byMark_.find(mark);
    return found == byMark_.end() ? none : *found;
}

WatchedFolders::Index WatchedFolders::child(Index parent, std::string_view name) const {
    const auto found = byName_.find(NamedChild{parent, name});
    return found == byName_.end() ? none : *found;
}

WatchedFolders::Index WatchedFolders::rootOf(Index folder) const {
    while (nodes_[folder].parent != none)
        folder = nodes_[folder].parent;
    return folder;
}

bool WatchedFolders::isSameOrBelow(Index folder, Index ancestor) const {
    while (folder != none && folder != ancestor)
        folder = nodes_[folder].parent;
    return folder == ancestor;
}

std::string WatchedFolders::relativePath(Index folder) const {
    std::vector<std::string_view> names;
    for (; nodes_[folder].parent != none; folder = nodes_[folder].parent)
        names.push_back(nodes_[folder].name);
    std::string path;
    for (auto name = names.rbegin(); name != names.rend(); ++name) {
        if (!path.empty()) path += '/';
        path += *name;
    }
    return path;
}

std::string WatchedFolders::path(Index folder) const {
    const std::string relative = relativePath(folder);
    const std::string& root = nodes_[rootOf(folder)].name;
    return relative.empty() ? root : root + '/' + relative;
}

void WatchedFolders::unlink(Index folder) {
    const Node& node = nodes_[folder];
    if (node.next != none) nodes_[node.next].previous = node.previous;
    if (node.previous != none) {
        nodes_[node.previous].next = node.next;
    } else if (node.parent != none) {
        nodes_[node.parent].firstChild = node.next;
    }
}

void WatchedFolders::remove(Index folder, const std::function<void(MarkKey)>& removed) {
    unlink(folder);
    std::vector<Index> pending{folder};
    while (!pending.empty()) {
        const Index index = pending.back();
        pending.pop_back();
        for (Index child = nodes_[index].firstChild; child != none; child = nodes_[child].next)
            pending.push_back(child);
        byMark_.erase(index);
        byName_.erase(index);
        removed(nodes_[index].mark);
        nodes_[index] = Node{};
        free_.push_back(index);
    }
}

std::vector<WatchedFolders::Index> WatchedFolders::partialFolders() const {
    std::vector<Index> partial;
    for (Index index = 0; index < nodes_.size(); ++index) {
        if (nodes_[index].isUsed && nodes_[index].isPartial) partial.push_back(index);
    }
    return partial;
}

}  // namespace velmora
