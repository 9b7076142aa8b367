#include "tools/views/ConstraintDescription.h"

#include "host/engine/AttributeEdit.h"
#include "hostapi/attribute/DataAttribute.h"

namespace VexilHost {

namespace {

int readSwitch(const Qn::GroupAttribute& group, const char* name, int defaultValue) {
    return Qn::IntAttribute(AttributeEdit::childNamed(group, name)).getValue(defaultValue, false);
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

} // namespace VexilHost
