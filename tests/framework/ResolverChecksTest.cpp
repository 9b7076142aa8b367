// The failure texts no cooked scene can provoke (the framework always gathers every sample time of
// base and targets and never runs a resolver without a target), made from the kind's name by the one
// helper every kind uses; the resolvers are not reached here, only the helper, with inputs it must
// refuse. Any cook interface will do: the helper never calls the host.
#include "PluginApis/src/QnVexil/op/VexilCookInterface.h"
#include "constraints/resolve/ConstraintResolver.h"
#include "tests/support/ThrownMessage.h"
#include "vexil/VexilOp.h"

#include <gtest/gtest.h>

using namespace Vexil3Constraints::Private;
using VexilTest::thrownMessage;

namespace {

class NoResolvedCache : public ResolvedCache {
public:
    Qn::Attribute getAttr(Qn::VexilCookInterface&, const std::string&, const std::string&) override {
        return Qn::Attribute();
    }
    XformSamples getWorldXform(Qn::VexilCookInterface&, const std::string&, const SampleTimes&) override {
        return XformSamples();
    }
    SampleTimes getWorldXformSampleTimes(Qn::VexilCookInterface&, const std::string&) override {
        return SampleTimes();
    }
};

} // namespace

TEST(ResolverChecks, TextsNoSceneCanProvokeBeginWithTheKind) {
    const VexilCookSuite suite{};
    Qn::VexilCookInterface cookInterface(nullptr, &suite);
    NoResolvedCache cache;
    const std::string base = "/root/world/base";
    const TargetPaths onePath = {"/root/world/t"};
    const SampleTimes times = {0.0f};
    const XformSamples noSamples;
    const XformSamplesList oneEmptyTarget = {XformSamples()};
    const XformSamplesList noTargets;
    const ConstraintInputs unsampled{{cookInterface, base, onePath, cache}, times, noSamples, oneEmptyTarget};
    const ConstraintInputs untargeted{
        {cookInterface, base, TargetPaths(), cache}, times, noSamples, noTargets};
    for (const char* kind : {"Point", "CameraScreenWindow"}) {
        const ResolverChecks checks(kind);
        const std::string prefix = std::string(kind) + " constraint resolver: ";
        EXPECT_EQ(thrownMessage([&] { checks.baseAt(unsampled, 0.0f); }),
                  prefix + "incorrect time samples for base xform");
        EXPECT_EQ(thrownMessage([&] { checks.targetAt(unsampled, 0, 0.0f); }),
                  prefix + "incorrect time samples for target xform");
        EXPECT_EQ(thrownMessage([&] { checks.firstTargetSamples(untargeted); }), prefix + "no target xform");
        EXPECT_EQ(thrownMessage([&] { checks.firstTargetPath(untargeted); }),
                  prefix + "no target location path.");
        EXPECT_EQ(thrownMessage([&] {
                      checks.checkTargetCounts(ConstraintInputs{
                          {cookInterface, base, onePath, cache}, times, noSamples, noTargets});
                  }),
                  std::string(kind) +
                      " constraint internal error: targetLocationPaths.size() != targetXformVector.size().");
    }
}
