/* The AttributeHost suite (version 5): the host's immutable, reference-counted attribute values,
 * reached only through this table of functions. Plain C, shared by the host and every plug-in.
 *
 * Every attribute handle returned by a function of this suite is a new reference owned by the
 * caller, who releases it with `release`. Handles passed in are borrowed. A null handle is the
 * null attribute; its type code, like that of any failed query, is QN_ATTRIBUTE_TYPE_NULL.
 *
 * Entry numbers (0-based table positions) are part of the contract and are checked below. */
#pragma once

#include <stddef.h>
#include <stdint.h>

#include "VexilPlugin.h"

#ifdef __cplusplus
extern "C" {
#endif

#define QN_ATTRIBUTE_HOST_SUITE_NAME "AttributeHost"
#define QN_ATTRIBUTE_HOST_SUITE_VERSION 5

typedef struct QnAttributeOpaque* QnAttributeHandle;
typedef struct QnGroupBuilderOpaque* QnGroupBuilderHandle;

enum {
    QN_ATTRIBUTE_TYPE_NULL = 0,
    QN_ATTRIBUTE_TYPE_INT = 1,
    QN_ATTRIBUTE_TYPE_FLOAT = 2,
    QN_ATTRIBUTE_TYPE_DOUBLE = 3,
    QN_ATTRIBUTE_TYPE_STRING = 4,
    QN_ATTRIBUTE_TYPE_GROUP = 5,
    QN_ATTRIBUTE_TYPE_ERROR = -1
};

/* Flag bits of a sample accessor record. */
#define QN_SAMPLE_ACCESSOR_HAND_BACK 0x01u  /* hand the record back with releaseSampleAccessor */
#define QN_SAMPLE_ACCESSOR_CONTIGUOUS 0x10u /* all samples' values in one block */

/** Read access to the samples of a float or double attribute. With the contiguous bit set, `values`
 *  points at one block in which sample i starts at index i * valuesPerSample; otherwise it points at
 *  an array of one value pointer per sample. */
typedef struct QnSampleAccessor {
    uint8_t flags;
    int64_t numSamples;
    int64_t valuesPerSample;
    const float* times;
    const void* values;
} QnSampleAccessor;

/** Group builder modes. In the default mode a dotted child name ("args.targetOrigin") is a path
 *  that creates or reaches into nested groups. In literal mode names are taken as they are, dots
 *  and slashes included (used for groups keyed by location paths). */
enum { QN_GROUP_BUILDER_MODE_DEFAULT = 0, QN_GROUP_BUILDER_MODE_LITERAL = 1 };

/** Receives serialised bytes; returns non-zero to go on. */
typedef int (*QnWriteCallback)(void* context, const void* bytes, int64_t length);

typedef struct AttributeHostSuite {
    /* 0 */ QnAttributeHandle (*deserialise)(const void* bytes, int64_t length, QnAttributeHandle* errorOut);
    /* 1 */ uint8_t (*serialise)(QnAttributeHandle attr, void* context, QnWriteCallback write,
                                 QnAttributeHandle* errorOut, int32_t formatSelector);
    /* 2 */ int32_t (*getType)(QnAttributeHandle attr);
    /* 3 */ void (*retain)(QnAttributeHandle attr);
    /* 4 */ void (*release)(QnAttributeHandle attr);
    /* 5 */ void (*getLiveCounts)(int64_t* attributes, int64_t* builders);
    /* 6 */ void (*getHash)(QnAttributeHandle attr, uint64_t hashOut[2]);
    /* 7 */ int64_t (*getNumberOfTimeSamples)(QnAttributeHandle attr);
    /* 8 */ int64_t (*getNumberOfValues)(QnAttributeHandle attr);
    /* 9 */ float (*getSampleTime)(QnAttributeHandle attr, int64_t index);
    /* 10 */ int64_t (*getTupleSize)(QnAttributeHandle attr);
    /* 11 */ int64_t (*getNumberOfChildren)(QnAttributeHandle group);
    /* 12 */ void (*getBoundingSampleTimes)(QnAttributeHandle attr, float time, float* left, float* right);
    /* 13 */ QnAttributeHandle (*createIntSamples)(const float* times, int64_t numSamples,
                                                   const int32_t* const* values, int64_t valuesPerSample,
                                                   int64_t tupleSize);
    /* 14 */ QnAttributeHandle (*createFloatSamples)(const float* times, int64_t numSamples,
                                                     const float* const* values, int64_t valuesPerSample,
                                                     int64_t tupleSize);
    /* 15 */ QnAttributeHandle (*createDoubleSamples)(const float* times, int64_t numSamples,
                                                      const double* const* values, int64_t valuesPerSample,
                                                      int64_t tupleSize);
    /* 16 */ QnAttributeHandle (*createStringSamples)(const float* times, int64_t numSamples,
                                                      const char* const* const* values,
                                                      int64_t valuesPerSample, int64_t tupleSize);
    /* 17 */ uint8_t (*isEqual)(QnAttributeHandle a, QnAttributeHandle b);
    /* 18 */ void* reserved18;
    /* 19 */ void* reserved19;
    /* 20 */ void* reserved20;
    /* 21 */ void* reserved21;
    /* 22 */ void* reserved22;
    /* 23 */ void* reserved23;
    /* 24 */ void* reserved24;
    /* 25 */ const char* (*getChildName)(QnAttributeHandle group, int64_t index, int32_t* lengthOut);
    /* 26 */ void* reserved26;
    /* 27 */ void* reserved27;
    /* 28 */ void* reserved28;
    /* 29 */ void* reserved29;
    /* 30 */ QnAttributeHandle (*createString)(const char* text);
    /* 31 */ QnAttributeHandle (*getChildByIndex)(QnAttributeHandle group, int64_t index);
    /* 32 */ void* reserved32;
    /* 33 */ void* reserved33;
    /* 34 */ QnAttributeHandle (*getChildByName)(QnAttributeHandle group, const char* name, int32_t length);
    /* 35 */ QnAttributeHandle (*createInt)(int32_t value);
    /* 36 */ void* reserved36;
    /* 37 */ QnAttributeHandle (*createFloat)(float value);
    /* 38 */ QnAttributeHandle (*createDouble)(double value);
    /* 39 */ void* reserved39;
    /* 40 */ QnGroupBuilderHandle (*createGroupBuilder)(void);
    /* 41 */ QnGroupBuilderHandle (*createGroupBuilderWithMode)(uint8_t mode);
    /* 42 */ void (*releaseGroupBuilder)(QnGroupBuilderHandle builder);
    /* 43 */ void (*groupBuilderSet)(QnGroupBuilderHandle builder, const char* name, int32_t length,
                                     QnAttributeHandle attr);
    /* 44 */ void* reserved44;
    /* 45 */ void* reserved45;
    /* 46 */ void (*groupBuilderDelete)(QnGroupBuilderHandle builder, const char* name, int32_t length);
    /* 47 */ void (*groupBuilderUpdate)(QnGroupBuilderHandle builder, QnAttributeHandle group);
    /* 48 */ void* reserved48;
    /* 49 */ QnAttributeHandle (*groupBuilderBuild)(QnGroupBuilderHandle builder, uint8_t flag);
    /* 50 */ void* reserved50;
    /* 51 */ void* reserved51;
    /* 52 */ void* reserved52;
    /* 53 */ void* reserved53;
    /* 54 */ const int32_t* (*getIntNearestSample)(QnAttributeHandle attr, float time, int64_t* countOut);
    /* 55 */ void* reserved55;
    /* 56 */ const float* (*getFloatNearestSample)(QnAttributeHandle attr, float time, int64_t* countOut);
    /* 57 */ const double* (*getDoubleNearestSample)(QnAttributeHandle attr, float time, int64_t* countOut);
    /* 58 */ void* reserved58;
    /* 59 */ void* reserved59;
    /* 60 */ void* reserved60;
    /* 61 */ const QnSampleAccessor* (*getSampleAccessor)(QnAttributeHandle attr, int32_t typeCode,
                                                          int32_t version);
    /* 62 */ void* reserved62;
    /* 63 */ void (*releaseSampleAccessor)(const QnSampleAccessor* accessor);
    /* 64 */ const char* const* (*getStringNearestSample)(QnAttributeHandle attr, float time,
                                                          int64_t* countOut);
} AttributeHostSuite;

#define QN_ATTRIBUTE_ENTRY(field, n)                                                                         \
    VEXIL_STATIC_ASSERT(offsetof(AttributeHostSuite, field) == (n) * sizeof(void*), #field " is entry " #n)
QN_ATTRIBUTE_ENTRY(serialise, 1);
QN_ATTRIBUTE_ENTRY(getType, 2);
QN_ATTRIBUTE_ENTRY(retain, 3);
QN_ATTRIBUTE_ENTRY(release, 4);
QN_ATTRIBUTE_ENTRY(getNumberOfValues, 8);
QN_ATTRIBUTE_ENTRY(getTupleSize, 10);
QN_ATTRIBUTE_ENTRY(getNumberOfChildren, 11);
QN_ATTRIBUTE_ENTRY(getBoundingSampleTimes, 12);
QN_ATTRIBUTE_ENTRY(getChildName, 25);
QN_ATTRIBUTE_ENTRY(createString, 30);
QN_ATTRIBUTE_ENTRY(getChildByIndex, 31);
QN_ATTRIBUTE_ENTRY(getChildByName, 34);
QN_ATTRIBUTE_ENTRY(createInt, 35);
QN_ATTRIBUTE_ENTRY(createFloat, 37);
QN_ATTRIBUTE_ENTRY(createDouble, 38);
QN_ATTRIBUTE_ENTRY(createGroupBuilder, 40);
QN_ATTRIBUTE_ENTRY(createGroupBuilderWithMode, 41);
QN_ATTRIBUTE_ENTRY(releaseGroupBuilder, 42);
QN_ATTRIBUTE_ENTRY(groupBuilderSet, 43);
QN_ATTRIBUTE_ENTRY(groupBuilderDelete, 46);
QN_ATTRIBUTE_ENTRY(groupBuilderUpdate, 47);
QN_ATTRIBUTE_ENTRY(groupBuilderBuild, 49);
QN_ATTRIBUTE_ENTRY(getIntNearestSample, 54);
QN_ATTRIBUTE_ENTRY(getFloatNearestSample, 56);
QN_ATTRIBUTE_ENTRY(getDoubleNearestSample, 57);
QN_ATTRIBUTE_ENTRY(getSampleAccessor, 61);
QN_ATTRIBUTE_ENTRY(releaseSampleAccessor, 63);
QN_ATTRIBUTE_ENTRY(getStringNearestSample, 64);
VEXIL_STATIC_ASSERT(sizeof(AttributeHostSuite) == 65 * sizeof(void*), "AttributeHost has 65 entries");
#undef QN_ATTRIBUTE_ENTRY

/** Exported by libQnAttributeHost.so: a service table that offers the AttributeHost suite. */
typedef const VexilHostServices* (*QnGetAttributeHostFn)(void);
#define QN_GET_ATTRIBUTE_HOST_SYMBOL "getAttributeHost"

#ifdef __cplusplus
}
#endif
