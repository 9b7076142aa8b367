/* The op plug-in API "VexilOp", version 1: the op suite a plug-in hands its host, the setup
 * interface, and the cook-interface function table through which an op reads its inputs and writes
 * the location being cooked. Plain C, shared by the host and every op plug-in.
 *
 * Conventions of the cook table: every entry takes the cook handle first. Strings go in as a pointer
 * and a length (not necessarily NUL-terminated); strings coming back are valid until the cook ends.
 * Attribute handles coming back are new references owned by the caller; handles going in are
 * borrowed. Entries that take an `abort` flag clear nothing themselves: the caller clears the byte,
 * and the host sets it to 1 when it cannot answer yet (the location asked for is not cooked); the
 * op must then end its cook, and the host cooks it again later. An input index of -1 is the op's
 * current input. An empty location path is the location being cooked. */
#pragma once

#include <stddef.h>
#include <stdint.h>

#include "AttributeHost.h"
#include "VexilPlugin.h"

#ifdef __cplusplus
extern "C" {
#endif

#define VEXIL_OP_API_NAME "VexilOp"
#define VEXIL_OP_API_VERSION 1u

typedef struct VexilCookOpaque* VexilCookHandle;
typedef struct VexilSetupOpaque* VexilSetupHandle;

/** Frees the private data handed to createChild or replaceChildTraversalOp. */
typedef void (*VexilPrivateDataDeleter)(void* privateData);

/** Reset-recursive modes of createChild. */
enum {
    VEXIL_RESET_RECURSIVE_NONE = 0, /* the child is cooked by the op chain as usual */
    VEXIL_RESET_RECURSIVE_ON = 1,   /* the child and its children are cooked by the new op only */
    VEXIL_RESET_RECURSIVE_AUTO = 2  /* the child is created by the new op; its children by the chain */
};

/** The setup interface: what an op may tell its host before any cook. */
typedef struct VexilSetupSuite {
    /** 0: threading mode. 0: the op may be cooked on any thread at once; 1: one cook at a time. */
    void (*setThreading)(VexilSetupHandle handle, int32_t mode);
} VexilSetupSuite;

typedef struct VexilCookSuite {
    /* 0 */ int32_t (*getNumInputs)(VexilCookHandle h);
    /* 1 */ int32_t (*getCurrentInputIndex)(VexilCookHandle h);
    /* 2 */ const char* (*getInputLocationPath)(VexilCookHandle h, int32_t* lengthOut);
    /* 3 */ const char* (*getOutputLocationPath)(VexilCookHandle h, int32_t* lengthOut);
    /* 4 */ const char* (*getRootLocationPath)(VexilCookHandle h, int32_t* lengthOut);
    /* 5 */ void* reserved5;
    /* 6 */ void* reserved6;
    /* 7 */ uint8_t (*atRoot)(VexilCookHandle h);
    /* 8 */ void* reserved8;
    /* 9 */ void* reserved9;
    /* 10 */ const char* (*getOpType)(VexilCookHandle h, int32_t* lengthOut);
    /** 11: the op argument at a dotted path, or null when absent. */
    /* 11 */ QnAttributeHandle (*getOpArg)(VexilCookHandle h, const char* name, int32_t nameLength);
    /** 12: the private data that the host keeps for this op's traversal, or null. */
    /* 12 */ void* (*getPrivateData)(VexilCookHandle h);
    /* 13 */ void (*prefetch)(VexilCookHandle h, const char* path, int32_t pathLength, int32_t inputIndex);
    /** 14: an attribute (dotted name) of a location on an input, or null when absent. */
    /* 14 */ QnAttributeHandle (*getAttr)(VexilCookHandle h, const char* name, int32_t nameLength,
                                          const char* path, int32_t pathLength, int32_t inputIndex,
                                          uint8_t* abort);
    /* 15 */ uint8_t (*doesLocationExist)(VexilCookHandle h, const char* path, int32_t pathLength,
                                          int32_t inputIndex, uint8_t* abort);
    /** 16: a string attribute of the names of the location's children on the input. */
    /* 16 */ QnAttributeHandle (*getPotentialChildren)(VexilCookHandle h, const char* path,
                                                       int32_t pathLength, int32_t inputIndex,
                                                       uint8_t* abort);
    /* 17 */ void* reserved17;
    /* 18 */ void (*createChild)(VexilCookHandle h, const char* name, int32_t nameLength, const char* opType,
                                 int32_t opTypeLength, QnAttributeHandle opArgs, int32_t resetRecursive,
                                 void* privateData, VexilPrivateDataDeleter deleter);
    /* 19 */ void* reserved19;
    /** 20: every attribute of a location on an input, as one group (null when it does not exist). */
    /* 20 */ QnAttributeHandle (*getAllAttrs)(VexilCookHandle h, const char* path, int32_t pathLength,
                                              int32_t inputIndex, uint8_t* abort);
    /* 21 */ void* reserved21;
    /* 22 */ void* reserved22;
    /** 23: the first of the two attribute names that the location at `path` has, looked up at
     *  `path` and, failing that, at `fallbackPath`; `namesPair` is a string attribute of two names. */
    /* 23 */ QnAttributeHandle (*getAttrWithFallback)(VexilCookHandle h, const char* path, int32_t pathLength,
                                                      const char* fallbackPath, int32_t fallbackLength,
                                                      int32_t inputIndex, QnAttributeHandle namesPair,
                                                      uint8_t* abort);
    /* 24 */ void (*setAttr)(VexilCookHandle h, const char* name, int32_t nameLength, QnAttributeHandle attr,
                             uint8_t groupInherit);
    /* 25 */ void (*deleteAttr)(VexilCookHandle h, const char* name, int32_t nameLength);
    /** 26: the children of the cooked location are cooked by a new instance of `opType` with these
     *  arguments and private data, instead of by the current one. */
    /* 26 */ void (*replaceChildTraversalOp)(VexilCookHandle h, const char* opType, int32_t opTypeLength,
                                             QnAttributeHandle opArgs, void* privateData,
                                             VexilPrivateDataDeleter deleter);
    /** 27: the location type (`type` attribute) of a location on an input, or null. */
    /* 27 */ QnAttributeHandle (*getLocationType)(VexilCookHandle h, const char* path, int32_t pathLength,
                                                  int32_t inputIndex, uint8_t* abort);
    /* 28 */ void (*stopChildTraversal)(VexilCookHandle h);
    /** 29: sets every child of the group `attrs` as an attribute of the output location at `path`
     *  below the cooked one (it must be the cooked location: other paths are ignored). */
    /* 29 */ void (*setAttrsAt)(VexilCookHandle h, const char* path, int32_t pathLength,
                                QnAttributeHandle attrs);
    /* 30 */ void (*copyAttr)(VexilCookHandle h, const char* destName, int32_t destLength,
                              const char* srcName, int32_t srcLength, uint8_t groupInherit,
                              const char* srcPath, int32_t srcPathLength, int32_t inputIndex, uint8_t* abort);
    /** 31: appends the values of `attr` to the attribute `name` (read from `srcName` at `inputPath`,
     *  empty meaning the same name and this location), creating it when absent. */
    /* 31 */ void (*extendAttr)(VexilCookHandle h, const char* name, int32_t nameLength,
                                QnAttributeHandle attr, const char* srcName, int32_t srcNameLength,
                                uint8_t groupInherit, const char* inputPath, int32_t inputPathLength,
                                int32_t inputIndex, uint8_t* abort);
} VexilCookSuite;

#define VEXIL_COOK_ENTRY(field, n)                                                                           \
    VEXIL_STATIC_ASSERT(offsetof(VexilCookSuite, field) == (n) * sizeof(void*), #field " is entry " #n)
VEXIL_COOK_ENTRY(getInputLocationPath, 2);
VEXIL_COOK_ENTRY(getOutputLocationPath, 3);
VEXIL_COOK_ENTRY(atRoot, 7);
VEXIL_COOK_ENTRY(getOpType, 10);
VEXIL_COOK_ENTRY(getOpArg, 11);
VEXIL_COOK_ENTRY(getPrivateData, 12);
VEXIL_COOK_ENTRY(prefetch, 13);
VEXIL_COOK_ENTRY(getAttr, 14);
VEXIL_COOK_ENTRY(doesLocationExist, 15);
VEXIL_COOK_ENTRY(getPotentialChildren, 16);
VEXIL_COOK_ENTRY(createChild, 18);
VEXIL_COOK_ENTRY(getAllAttrs, 20);
VEXIL_COOK_ENTRY(getAttrWithFallback, 23);
VEXIL_COOK_ENTRY(setAttr, 24);
VEXIL_COOK_ENTRY(deleteAttr, 25);
VEXIL_COOK_ENTRY(replaceChildTraversalOp, 26);
VEXIL_COOK_ENTRY(getLocationType, 27);
VEXIL_COOK_ENTRY(stopChildTraversal, 28);
VEXIL_COOK_ENTRY(setAttrsAt, 29);
VEXIL_COOK_ENTRY(copyAttr, 30);
VEXIL_COOK_ENTRY(extendAttr, 31);
VEXIL_STATIC_ASSERT(sizeof(VexilCookSuite) == 32 * sizeof(void*), "cook suite has 32 entries");
#undef VEXIL_COOK_ENTRY

/** The suite of one op: what a VexilOp record's getSuite returns. */
typedef struct VexilOpSuite {
    void (*setup)(VexilSetupHandle handle, const VexilSetupSuite* setupSuite);
    /** Cooks one location. Sets *aborted to 1 when a query was aborted (nothing was written). */
    void (*cook)(VexilCookHandle handle, const VexilCookSuite* cookSuite, uint8_t* aborted);
    /** The op's description (a group), or null. The caller owns the returned handle. */
    QnAttributeHandle (*describe)(void);
} VexilOpSuite;

/* ---- Host utility suites -------------------------------------------------------------------- */

#define VEXIL_XFORM_UTIL_SUITE_NAME "XFormUtilHost"
#define VEXIL_XFORM_UTIL_SUITE_VERSION 3

/** World transforms as the host computes them (row vectors, W = L * Wparent). `overrides` is null
 *  or a group built in literal mode whose children, keyed by absolute location path, replace that
 *  location's `xform` group in the computation (used to see resolved constraints). Version 2 adds
 *  entries 3 and 4, which answer entries 0 and 1 into buffers the caller owns (no attribute is made);
 *  entries 0-2 are unchanged, so a host offering version 2 may hand the same table to a request for
 *  version 1. Version 3 adds entries 5 and 6, which continue a world transform from one of the
 *  location's ancestors whose world the caller already has (so that a caller keeping the worlds of the
 *  locations it changed never recomputes a chain from "/root"); versions 1 and 2 read the same table. */
typedef struct XFormUtilHostSuite {
    /** 0: the sorted union of the sample times of every transform operation of the location and its
     *  ancestors, as a float attribute (one sample, one value per time); never empty ({0}). */
    QnAttributeHandle (*getWorldXformSampleTimes)(VexilCookHandle h, const char* path, int32_t pathLength,
                                                  int32_t inputIndex, QnAttributeHandle overrides,
                                                  uint8_t* abort);
    /** 1: the world transform at each of `times`: a double attribute, tuple size 16, one sample per
     *  time. Null when the location does not exist. */
    QnAttributeHandle (*getWorldXformAtTimes)(VexilCookHandle h, const char* path, int32_t pathLength,
                                              int32_t inputIndex, const float* times, int64_t numTimes,
                                              QnAttributeHandle overrides, uint8_t* abort);
    /** 2: the local transform of an `xform` group at each of `times` (same layout as entry 1). */
    QnAttributeHandle (*getLocalXformAtTimes)(QnAttributeHandle xformGroup, const float* times,
                                              int64_t numTimes);
    /** 3: the times entry 0 answers, in the same order, written to `timesOut` (at most `capacity` of
     *  them; `timesOut` may be null when `capacity` is 0). Returns how many there are, which may
     *  exceed `capacity`: the caller then asks again with room for that many. Returns -1 when entry 0
     *  would return null (the query aborted, setting *abort to 1, or cannot be answered). */
    int64_t (*copyWorldXformSampleTimes)(VexilCookHandle h, const char* path, int32_t pathLength,
                                         int32_t inputIndex, QnAttributeHandle overrides, float* timesOut,
                                         int64_t capacity, uint8_t* abort);
    /** 4: the world transform at each of `times`, in their order (a time given twice is answered
     *  twice), written to `matricesOut` as 16 doubles per time, row by row (room for 16 * numTimes
     *  values); each matrix is the one entry 1 gives for that time. Returns 1, or 0 when entry 1 would
     *  return null (the location does not exist, `numTimes` is below 1, or the query aborted, setting
     *  *abort to 1); after 0 the buffer's contents are undefined. */
    uint8_t (*copyWorldXformAtTimes)(VexilCookHandle h, const char* path, int32_t pathLength,
                                     int32_t inputIndex, const float* times, int64_t numTimes,
                                     QnAttributeHandle overrides, double* matricesOut, uint8_t* abort);
    /** 5: the sample times of every transform operation of the locations strictly below the ancestor
     *  `path[0, ancestorLength)` down to `path` itself (of the whole chain, "/root" included, when
     *  `ancestorLength` is 0), sorted and each once, written to `timesOut` as entry 3 writes them. Unlike
     *  entry 3 the count may be 0: no operation of those locations is sampled (the caller adds the
     *  ancestor's own times, and {0} when there are none at all). Returns -1 as entry 3 does, and when
     *  `ancestorLength` is neither 0 nor the length of a strict ancestor of `path` (a prefix that ends
     *  before one of its slashes). */
    int64_t (*copyWorldXformSampleTimesBelow)(VexilCookHandle h, const char* path, int32_t pathLength,
                                              int32_t ancestorLength, int32_t inputIndex,
                                              QnAttributeHandle overrides, float* timesOut, int64_t capacity,
                                              uint8_t* abort);
    /** 6: the world transform of `path` at each of `times`, given `ancestorWorlds`, the world transforms
     *  (16 doubles per time, row by row) of its ancestor `path[0, ancestorLength)` at the same times: the
     *  operations of the locations below the ancestor are applied to them in the order entry 4 applies
     *  them, so that each result is bit for bit entry 4's when `ancestorWorlds` hold that ancestor's
     *  world transforms. With `ancestorLength` 0 `ancestorWorlds` is not read and the whole chain is
     *  applied (entry 4 itself). Returns 1, or 0 as entry 4 does and for an `ancestorLength` entry 5
     *  refuses. */
    uint8_t (*copyWorldXformAtTimesBelow)(VexilCookHandle h, const char* path, int32_t pathLength,
                                          int32_t ancestorLength, int32_t inputIndex, const float* times,
                                          int64_t numTimes, const double* ancestorWorlds,
                                          QnAttributeHandle overrides, double* matricesOut, uint8_t* abort);
} XFormUtilHostSuite;

#define VEXIL_COOK_UTILS_SUITE_NAME "VexilCookInterfaceUtilsHost"
#define VEXIL_COOK_UTILS_SUITE_VERSION 1

/** Bounds as the host sees them. */
typedef struct VexilCookInterfaceUtilsHostSuite {
    /** 0: the location's `bound` carried to world space at `time` (the axis-aligned box of its eight
     *  transformed corners), as xmin, xmax, ymin, ymax, zmin, zmax. Returns 0 when there is no bound. */
    uint8_t (*getWorldBound)(VexilCookHandle h, const char* path, int32_t pathLength, int32_t inputIndex,
                             float time, double boundOut[6], uint8_t* abort);
} VexilCookInterfaceUtilsHostSuite;

#ifdef __cplusplus
}
#endif
