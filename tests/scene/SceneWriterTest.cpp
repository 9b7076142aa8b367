// The scene writer's refusal of what would not read back the same (the canonical form is
// SceneReaderTest's, through files read and written again).
#include "host/scene/SceneWriter.h"
#include "hostapi/attribute/DataAttribute.h"
#include "tests/support/LiteralGroup.h"

#include <gtest/gtest.h>

#include <sstream>

using namespace VexilHost;
using VexilTest::literalGroup;

TEST(SceneWriter, GroupsThatWouldReadBackAsDataAreRefused) {
    for (const std::string kind : {"int", "float", "double", "string"}) {
        SceneLocation root;
        root.children.push_back(
            {"world", literalGroup({{"xform", literalGroup({{kind, Qn::DoubleAttribute(1.0)}})}}), {}});
        std::ostringstream out;
        try {
            writeScene(root, out);
            ADD_FAILURE() << "no error for a child named " << kind;
        } catch (const SceneWriteError& error) {
            EXPECT_EQ(error.what(), "/root/world: attribute \"xform." + kind + "\": a group child named \"" +
                                        kind +
                                        "\" cannot be written (it would read back as a data attribute)");
        }
    }
}
