/* The plug-in entry contract: the plug-in record that a library hands its host, the host's service
 * table, and the two exported entry points. Plain C, shared by the host and every plug-in. */
#pragma once

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/** The host's service table. Its first entry returns the suite of the given name and version, or null
 *  when the host does not offer it. */
typedef struct VexilHostServices {
    const void* (*getSuite)(const char* suiteName, unsigned int suiteVersion);
    /** The host's name, for diagnostics ("vexil-cook", "QnAttributeHost"). */
    const char* (*getHostName)(void);
} VexilHostServices;

/* Plug-ins call the service table VexilHost. The reference host's C++ code lives in a namespace of
 * that name, which cannot share the global scope with a type of the same name: host code is built
 * with VEXIL_HOST_SIDE defined and names the table VexilHostServices (the client classes in
 * namespace Qn keep their spelling through the alias below). The layout and the ABI are the same. */
#if !defined(__cplusplus) || !defined(VEXIL_HOST_SIDE)
typedef VexilHostServices VexilHost;
#endif

/** One plug-in of a library: 56 bytes, the layout is part of the contract. */
typedef struct VexilPluginRecord {
    const char* name;                              /* offset 0: the plug-in's (op type) name */
    const char* apiName;                           /* offset 8: the plug-in API, "VexilOp" for ops */
    uint32_t apiVersion;                           /* offset 16 */
    uint32_t pluginVersionMajor;                   /* offset 20 */
    uint32_t pluginVersionMinor;                   /* offset 24 */
    uint32_t padding;                              /* offset 28: always 0 */
    int (*setHost)(const VexilHostServices* host); /* offset 32: 0 on success, -1 on failure */
    const void* (*getSuite)(void);                 /* offset 40: the plug-in's API suite */
    void (*flush)(void);                           /* offset 48 */
} VexilPluginRecord;

#ifdef __cplusplus
#define VEXIL_STATIC_ASSERT(cond, msg) static_assert(cond, msg)
#else
#define VEXIL_STATIC_ASSERT(cond, msg) _Static_assert(cond, msg)
#endif

VEXIL_STATIC_ASSERT(sizeof(VexilPluginRecord) == 56, "plug-in record is 56 bytes");
VEXIL_STATIC_ASSERT(offsetof(VexilPluginRecord, name) == 0, "name at 0");
VEXIL_STATIC_ASSERT(offsetof(VexilPluginRecord, apiName) == 8, "apiName at 8");
VEXIL_STATIC_ASSERT(offsetof(VexilPluginRecord, apiVersion) == 16, "apiVersion at 16");
VEXIL_STATIC_ASSERT(offsetof(VexilPluginRecord, pluginVersionMajor) == 20, "major at 20");
VEXIL_STATIC_ASSERT(offsetof(VexilPluginRecord, pluginVersionMinor) == 24, "minor at 24");
VEXIL_STATIC_ASSERT(offsetof(VexilPluginRecord, padding) == 28, "padding at 28");
VEXIL_STATIC_ASSERT(offsetof(VexilPluginRecord, setHost) == 32, "setHost at 32");
VEXIL_STATIC_ASSERT(offsetof(VexilPluginRecord, getSuite) == 40, "getSuite at 40");
VEXIL_STATIC_ASSERT(offsetof(VexilPluginRecord, flush) == 48, "flush at 48");

/** Exported by every plug-in library: the library's records, valid until the next call. */
typedef VexilPluginRecord* (*VexilGetPluginsFn)(unsigned int* count);
/** Exported by every plug-in library: appends a copy of a record to the library's record array. */
typedef void (*VexilRegisterPluginFn)(const VexilPluginRecord* record);

#define VEXIL_GET_PLUGINS_SYMBOL "getPlugins"
#define VEXIL_REGISTER_PLUGIN_SYMBOL "registerPlugin"

#ifdef __cplusplus
}
#if defined(VEXIL_HOST_SIDE)
namespace Qn {
typedef ::VexilHostServices VexilHost;
} // namespace Qn
#endif
#endif
