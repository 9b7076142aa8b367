#include "tools/views/ConstraintDescription.h"

#include "host/engine/AttributeEdit.h"
#include "hostapi/attribute/DataAttribute.h"

namespace VexilHost {

namespace {

int readSwitch(const Qn::GroupAttribute& group, const char* name, int defaultValue) {
    return Qn::IntAttribute(AttributeEdit::childNamed(group, name)).getValue(defaultValue, false);
}

// Applies the components of `path` to `stack`; false when ".." climbs above the top.
bool applyComponents(const std::string& path, std::vector<std::string>& stack) {
    size_t start = 0;
    while (start <= path.size()) {
        const size_t end = std::min(path.find('/', start), path.size());
        const std::string component = path.substr(start, end - start);
        if (component == "..") {
            if (stack.empty()) {
                return false;
            }
            stack.pop_back();
        } else if (!component.empty() && component != ".") {
            stack.push_back(component);
        }
        start = end + 1;
    }
    return true;
}

} // namespace

bool isConstraintName(const std::string& name) {
    return name.compare(0, 10, "constraint") == 0;
}

std::vector<ConstraintDescription> readConstraintDescriptions(const Qn::Attribute& xform) {
    std::vector<ConstraintDescription> result;
    const Qn::GroupAttribute group(xform);
    for (int64_t i = 0, n = group.getNumberOfChildren(); i < n; ++i) {
        const std::string name = group.getChildName(i);
        if (!isConstraintName(name)) {
            continue;
        }
        const Qn::GroupAttribute child(group.getChildByIndex(i));
        ConstraintDescription description;
        description.name = name;
        const Qn::StringAttribute type(AttributeEdit::childNamed(child, "type"));
        description.typeIsString = type.isValid();
        description.type = type.getValue(std::string(), false);
        description.targets =
            Qn::StringAttribute(AttributeEdit::childNamed(child, "target")).getNearestSampleStrings(0.0f);
        description.allowMissingTargets = readSwitch(child, "allowMissingTargets", 0);
        description.requireTargetBounds = readSwitch(child, "requireTargetBounds", 0);
        description.respectMotionBlur = readSwitch(child, "respectMotionBlur", 1);
        description.args = Qn::GroupAttribute(AttributeEdit::childNamed(child, "args"));
        if (!description.args.isValid()) {
            description.args = Qn::GroupBuilder().build();
        }
        result.push_back(std::move(description));
    }
    return result;
}

std::string absoluteTargetPath(const std::string& basePath, const std::string& target) {
    if (target.empty()) {
        return std::string();
    }
    std::vector<std::string> stack;
    if (target[0] != '/' && !applyComponents(basePath, stack)) {
        return std::string();
    }
    if (!applyComponents(target, stack)) {
        return std::string();
    }
    std::string result;
    for (const std::string& component : stack) {
        result += '/' + component;
    }
    return result.empty() ? std::string("/") : result;
}

} // namespace VexilHost
