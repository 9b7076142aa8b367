#include "constraints/resolve/ListedPathIndex.h"

#define XXH_INLINE_ALL
#include <xxhash.h>

namespace Vexil3Constraints {
namespace Private {

namespace {

/// The table is kept at most half full: a missing path ends its probe after one or two buckets.
size_t bucketsFor(size_t paths) {
    size_t buckets = 16;
    while (buckets < 2 * paths) {
        buckets *= 2;
    }
    return buckets;
}

} // namespace

ListedPathIndex::ListedPathIndex(size_t paths)
    : m_buckets(bucketsFor(paths), Bucket{0, kNone}), m_mask(m_buckets.size() - 1) {
    m_nodes.reserve(paths);
}

uint64_t ListedPathIndex::hashOf(std::string_view path) {
    return XXH3_64bits(path.data(), path.size());
}

uint32_t ListedPathIndex::lookup(std::string_view path) const {
    const uint64_t hash = hashOf(path);
    const auto tag = static_cast<uint32_t>(hash);
    for (size_t i = hash & m_mask;; i = (i + 1) & m_mask) {
        const Bucket bucket = m_buckets[i];
        if (bucket.node == kNone) {
            return kNone;
        }
        if (bucket.tag == tag && m_nodes[bucket.node].path == path) {
            return bucket.node;
        }
    }
}

uint32_t ListedPathIndex::insert(std::string_view path) {
    const uint64_t hash = hashOf(path);
    const auto tag = static_cast<uint32_t>(hash);
    size_t i = hash & m_mask;
    for (;; i = (i + 1) & m_mask) {
        const Bucket bucket = m_buckets[i];
        if (bucket.node == kNone) {
            break;
        }
        if (bucket.tag == tag && m_nodes[bucket.node].path == path) {
            return bucket.node;
        }
    }
    const auto added = static_cast<uint32_t>(m_nodes.size());
    m_nodes.push_back(Node{path});
    m_buckets[i] = Bucket{tag, added};
    if (2 * m_nodes.size() > m_buckets.size()) {
        grow();
    }
    return added;
}

void ListedPathIndex::grow() {
    std::vector<Bucket> old(m_buckets.size() * 2, Bucket{0, kNone});
    old.swap(m_buckets);
    m_mask = m_buckets.size() - 1;
    for (const Bucket& bucket : old) {
        if (bucket.node == kNone) {
            continue;
        }
        size_t i = bucket.tag & m_mask;
        while (m_buckets[i].node != kNone) {
            i = (i + 1) & m_mask;
        }
        m_buckets[i] = bucket;
    }
}

} // namespace Private
} // namespace Vexil3Constraints
