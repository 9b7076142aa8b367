// The hashed index of a constraint list: every listed path and every strict ancestor of one, each found
// by one probe of a flat table, with no allocation per path.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace Vexil3Constraints {
namespace Private {

/// An open-addressing table of paths (views, not copies) to nodes kept in one array, each node a listed
/// path, an ancestor of one, or both. Built once, then read-only: lookups from any number of threads.
class ListedPathIndex {
public:
    static constexpr uint32_t kNone = static_cast<uint32_t>(-1);

    /// A path of the index.
    struct Node {
        std::string_view path;
        uint32_t slot = kNone; ///< its memo slot when it is listed
        /// The node of the path without its last component (cut at its last slash, which must not be
        /// its first character), set on ancestors of listed paths: kNone when there is no such path.
        uint32_t up = kNone;
        bool ancestor = false; ///< whether some listed path lies strictly below it
    };

    /// Room for about `paths` paths before the table grows.
    explicit ListedPathIndex(size_t paths);

    /// The node of `path`, or kNone.
    uint32_t lookup(std::string_view path) const;
    /// The node of `path`, added when missing; `path` must outlive the index.
    uint32_t insert(std::string_view path);

    Node& node(uint32_t index) { return m_nodes[index]; }
    const Node& node(uint32_t index) const { return m_nodes[index]; }

private:
    /// A table entry: the node's index and the low half of its path's hash (the table's position bits
    /// included, so that the table grows without hashing any path again).
    struct Bucket {
        uint32_t tag;
        uint32_t node;
    };
    static uint64_t hashOf(std::string_view path);
    void grow();

    std::vector<Bucket> m_buckets;
    size_t m_mask;
    std::vector<Node> m_nodes;
};

} // namespace Private
} // namespace Vexil3Constraints
