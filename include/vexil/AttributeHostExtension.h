/* The AttributeHostExtension suite (version 1): optional entries that do in one call what the
 * AttributeHost suite does in several. A host may withhold it; a plug-in asks for it by name and
 * version through the same service table as every other suite and, when it is absent, does the same
 * work through the AttributeHost suite. The results are the same either way.
 *
 * Handles follow the AttributeHost rules (a returned handle is a new reference owned by the caller;
 * handles passed in are borrowed) except where an entry says otherwise. Plain C. */
#pragma once

#include "AttributeHost.h"

#ifdef __cplusplus
extern "C" {
#endif

#define QN_ATTRIBUTE_HOST_EXTENSION_SUITE_NAME "AttributeHostExtension"
#define QN_ATTRIBUTE_HOST_EXTENSION_SUITE_VERSION 1

/* Flag bits of buildGroup. */
#define QN_BUILD_GROUP_TAKE_VALUES 0x01u     /* a successful call takes over the references passed in */
#define QN_BUILD_GROUP_EXTRA_REFERENCE 0x02u /* the group comes back holding two references */

typedef struct AttributeHostExtensionSuite {
    /** The group that a new group builder of `mode` builds after `groupBuilderUpdate(base)` (when
     *  `base` is a group) and `groupBuilderSet(names[i], lengths[i], values[i])` for i from 0 to
     *  count - 1, in order, and nothing else: the same children, names, order and nesting. A
     *  negative length, or null `lengths`, means NUL-terminated names; a null name or value is skipped.
     *  With QN_BUILD_GROUP_TAKE_VALUES a successful call takes over the references of `base` and of
     *  every value (their holder must not release them); a failed call returns null and takes
     *  nothing. With QN_BUILD_GROUP_EXTRA_REFERENCE the caller owns two references to the group, so
     *  that it can keep one as the base of a later call. */
    QnAttributeHandle (*buildGroup)(uint8_t mode, QnAttributeHandle base, int64_t count,
                                    const char* const* names, const int32_t* lengths,
                                    const QnAttributeHandle* values, uint32_t flags);
} AttributeHostExtensionSuite;

VEXIL_STATIC_ASSERT(offsetof(AttributeHostExtensionSuite, buildGroup) == 0, "buildGroup is entry 0");
VEXIL_STATIC_ASSERT(sizeof(AttributeHostExtensionSuite) == sizeof(void*),
                    "AttributeHostExtension has 1 entry");

#ifdef __cplusplus
}
#endif
