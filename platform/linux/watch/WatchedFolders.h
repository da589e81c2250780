#pragma once

#include "platform/linux/watch/DirectoryMarks.h"

#include <boost/unordered/unordered_flat_set.hpp>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace velmora {

/// The marked folders and how they lie in each other. About 90 bytes a folder, since there may be 100,000.
///
/// Runs on: one thread.
class WatchedFolders {
  public:
    using Index = std::uint32_t;
    static constexpr Index none = ~Index{0};

    WatchedFolders();
    WatchedFolders(const WatchedFolders&) = delete;
    WatchedFolders& operator=(const WatchedFolders&) = delete;

    /// A folder under `name` (bytes) in `parent`, or a root (`parent` is `none`), whose name is its whole path.
    Index add(Index parent, std::string_view name, MarkKey mark);

    [[nodiscard]] Index find(MarkKey mark) const;
    [[nodiscard]] Index child(Index parent, std::string_view name) const;
    [[nodiscard]] bool isUsed(Index folder) const { return folder < nodes_.size() && nodes_[folder].isUsed; }
    [[nodiscard]] Index parent(Index folder) const { return nodes_[folder].parent; }
    [[nodiscard]] bool isRoot(Index folder) const { return nodes_[folder].parent == none; }
    [[nodiscard]] Index rootOf(Index folder) const;
    [[nodiscard]] bool isSameOrBelow(Index folder, Index ancestor) const;

    /// The bytes of the path from the root of the folder; empty for the root.
    [[nodiscard]] std::string relativePath(Index folder) const;

    /// The bytes of the whole path; empty for "/".
    [[nodiscard]] std::string path(Index folder) const;

    /// Removes a folder and all below it; `removed` sees each of their marks.
    void remove(Index folder, const std::function<void(MarkKey)>& removed);

    /// Whether some folders directly in this one are not marked.
    [[nodiscard]] bool isPartial(Index folder) const { return nodes_[folder].isPartial; }
    void setPartial(Index folder, bool isPartial) { nodes_[folder].isPartial = isPartial; }
    [[nodiscard]] std::vector<Index> partialFolders() const;

    [[nodiscard]] std::size_t size() const { return byMark_.size(); }

  private:
    struct Node {
        MarkKey mark;
        std::string name;
        Index parent = none;
        Index firstChild = none;
        Index next = none;
        Index previous = none;
        bool isPartial = false;
        bool isUsed = false;
    };
    using Nodes = std::vector<Node>;
    struct NamedChild {
        Index parent;
        std::string_view name;
        friend bool operator==(const NamedChild&, const NamedChild&) = default;
    };

    // Both tables hold indices alone and look the rest up in the nodes.
    template <class Key, Key (*keyOf)(const Node&)>
    struct Lookup {
        using is_transparent = void;
        const Nodes* nodes;
        Key key(Index index) const { return keyOf((*nodes)[index]); }
        static Key key(Key value) { return value; }
        template <class T>
        std::size_t operator()(const T& value) const {
            return hash(key(value));
        }
        template <class Left, class Right>
        bool operator()(const Left& left, const Right& right) const {
            return key(left) == key(right);
        }
    };
    static MarkKey markOf(const Node& node) { return node.mark; }
    static NamedChild nameOf(const Node& node) { return {node.parent, node.name}; }
    static std::size_t hash(const MarkKey& mark);
    static std::size_t hash(const NamedChild& child);
    using ByMark = Lookup<MarkKey, markOf>;
    using ByName = Lookup<NamedChild, nameOf>;

    void unlink(Index folder);

    Nodes nodes_;
    std::vector<Index> free_;
    boost::unordered_flat_set<Index, ByMark, ByMark> byMark_;
    boost::unordered_flat_set<Index, ByName, ByName> byName_;
};

}  // namespace velmora
