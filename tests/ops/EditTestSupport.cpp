#include "EditTestSupport.h"

#include <gtest/gtest.h>

namespace VexilTest {

Json op(const std::string& type, const Json& args, const std::string& location) {
    return {{"type", type}, {"location", location}, {"args", args}};
}

Json placed(const Imath::V3d& t, const Json& xformExtra, const Json& attrsExtra) {
    Json xform = translateXform(t);
    for (auto it = xformExtra.begin(); it != xformExtra.end(); ++it) {
        xform[it.key()] = it.value();
    }
    Json attrs = {{"type", "group"}, {"xform", xform}};
    for (auto it = attrsExtra.begin(); it != attrsExtra.end(); ++it) {
        attrs[it.key()] = it.value();
    }
    return {{"attrs", attrs}, {"children", Json::object()}};
}

CookResult cookChain(const Json& children, const Json& ops, const Json& worldAttrs) {
    CookResult result = cook(sceneFile(children, ops, 0.0f, 0.0f, 1, worldAttrs));
    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_FALSE(result.scene.is_null()) << result.err;
    return result;
}

std::vector<std::string> memberNames(const Json& group) {
    std::vector<std::string> names;
    if (group.is_object()) {
        for (auto it = group.begin(); it != group.end(); ++it) {
            names.push_back(it.key());
        }
    }
    return names;
}

std::vector<std::string> constraintList(const Json& cooked, bool& present) {
    const Json& attr = attribute(cooked, "/root/world", "globals.constraintList");
    present = !attr.is_null();
    std::vector<std::string> paths;
    if (attr.is_string()) {
        paths.push_back(attr.get<std::string>());
    } else if (attr.is_array()) {
        for (const Json& p : attr) {
            paths.push_back(p.get<std::string>());
        }
    }
    return paths;
}

} // namespace VexilTest
