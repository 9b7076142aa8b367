#include "constraints/resolve/ConstraintResolveOp.h"

#include "constraints/resolve/ConstraintListData.h"
#include "constraints/resolve/ConstraintNaming.h"
#include "constraints/resolve/LocationResolver.h"

namespace Vexil3Constraints {
namespace Private {

namespace {

const char* const kOpType = "ConstraintResolve";
const char* const kWorldPath = "/root/world";
const std::string kListArg("constraintList");
const std::string kGlobalsList("globals.constraintList");
const std::string kXform("xform");
const std::string kBound("bound");

/// Hands the children to a new instance of this op that carries `list` and its private data.
const ConstraintListData* handOverList(Qn::VexilCookInterface& cookInterface,
                                       const Qn::StringAttribute& list) {
    ConstraintListData* data = ConstraintListData::build(list);
    Qn::GroupBuilder args;
    args.set("constraintList", list);
    cookInterface.replaceChildTraversalOp(kOpType, args.build(), data, &ConstraintListData::destroy);
    return data;
}

} // namespace

void ConstraintResolveOp::cook(Qn::VexilCookInterface& cookInterface) {
    if (cookInterface.atRoot()) {
        return;
    }
    const std::string locationPath = cookInterface.getOutputLocationPath();

    // Below where the list entered, the private data holds it: the op argument handed down with it
    // is the same list, so it is neither read nor hashed again at every location.
    const auto* data = static_cast<const ConstraintListData*>(cookInterface.getPrivateData());
    if (!data) {
        // The list reaches "/root/world" as a scene attribute and travels further down as op argument.
        Qn::StringAttribute list = cookInterface.getOpArg(kListArg);
        if (!list.isValid() && locationPath == kWorldPath) {
            list = cookInterface.getAttr(kGlobalsList);
            cookInterface.copyAttr("info.constraintList", kGlobalsList, true);
            cookInterface.deleteAttr(kGlobalsList);
        }
        if (list.isValid()) {
            // The new list also governs this location: it is where the list enters the traversal.
            data = handOverList(cookInterface, list);
        }
    }

    // Bounds of ancestors no longer hold once a constrained descendant moves.
    if (data && data->isStrictAncestorOfListed(locationPath)) {
        cookInterface.deleteAttr(kBound);
    }

    const Qn::GroupAttribute xform = cookInterface.getAttr(kXform);
    for (int64_t i = 0, n = xform.getNumberOfChildren(); i < n; ++i) {
        if (!isConstraintChildName(xform.getChildNameView(i))) {
            continue;
        }
        resolveLocationConstraints(cookInterface, locationPath, xform, data,
                                   [&](const std::string& name, const Qn::Attribute& attribute) {
                                       cookInterface.setAttr(name, attribute, true);
                                   });
        break;
    }
}

} // namespace Private
} // namespace Vexil3Constraints
