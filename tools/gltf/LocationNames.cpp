#include "tools/gltf/LocationNames.h"

#include <algorithm>
#include <set>

namespace VexilHost {
namespace Gltf {

std::vector<std::string> siblingLocationNames(const std::vector<std::string>& names,
                                              const std::vector<int>& nodes) {
    std::vector<std::string> safe;
    safe.reserve(names.size());
    for (std::size_t i = 0; i < names.size(); ++i) {
        std::string name = names[i];
        for (char& c : name) {
            if (c == '/' || c == '\0') {
                c = '_';
            }
        }
        if (name.empty() || name == "." || name == "..") {
            name = "node" + std::to_string(nodes[i]);
        }
        safe.push_back(std::move(name));
    }
    // Names as written are kept first, so that a later "a" does not push an earlier "a_2" aside.
    std::set<std::string> taken;
    std::vector<std::string> unique(safe.size());
    std::vector<bool> clash(safe.size(), false);
    for (std::size_t i = 0; i < safe.size(); ++i) {
        clash[i] = !taken.insert(safe[i]).second;
        if (!clash[i]) {
            unique[i] = safe[i];
        }
    }
    for (std::size_t i = 0; i < safe.size(); ++i) {
        if (clash[i]) {
            for (int n = 2;; ++n) {
                const std::string candidate = safe[i] + "_" + std::to_string(n);
                if (taken.insert(candidate).second) {
                    unique[i] = candidate;
                    break;
                }
            }
        }
    }
    return unique;
}

} // namespace Gltf
} // namespace VexilHost
