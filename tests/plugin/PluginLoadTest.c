/* Loads the built plug-in as a host would, from plain C: the two exports, the five 56-byte records,
 * and setHost with no host and with the real attribute host. */
#include <vexil/AttributeHost.h>
#include <vexil/VexilOp.h>
#include <vexil/VexilPlugin.h>

#include <dlfcn.h>
#include <stdio.h>
#include <string.h>

static int g_failures = 0;

#define CHECK(cond)                                                                                          \
    do {                                                                                                     \
        if (!(cond)) {                                                                                       \
            fprintf(stderr, "%s:%d: check failed: %s\n", __FILE__, __LINE__, #cond);                         \
            ++g_failures;                                                                                    \
        }                                                                                                    \
    } while (0)

static const char* const kNames[5] = {"ConstraintEdit", "ConstraintEditAttributes", "ConstraintListEdit",
                                      "ConstraintResolve", "ConstraintSetup"};

static void checkRecords(const VexilPluginRecord* records, unsigned int count) {
    CHECK(records != NULL);
    CHECK(count == 5);
    if (!records || count != 5) {
        return;
    }
    CHECK((const char*)&records[1] - (const char*)&records[0] == 56);
    for (unsigned int i = 0; i < 5; ++i) {
        const VexilPluginRecord* r = &records[i];
        CHECK(r->name != NULL && strcmp(r->name, kNames[i]) == 0);
        CHECK(r->apiName != NULL && strcmp(r->apiName, "VexilOp") == 0);
        CHECK(r->apiName == records[0].apiName);
        CHECK(r->apiVersion == 1);
        CHECK(r->pluginVersionMajor == 0);
        CHECK(r->pluginVersionMinor == 1);
        CHECK(r->padding == 0);
        CHECK(r->setHost != NULL && r->setHost == records[0].setHost);
        CHECK(r->flush != NULL && r->flush == records[0].flush);
        CHECK(r->getSuite != NULL);
        if (r->getSuite) {
            const VexilOpSuite* suite = (const VexilOpSuite*)r->getSuite();
            CHECK(suite != NULL);
            CHECK(suite && suite->setup && suite->cook && suite->describe);
            for (unsigned int j = 0; j < i; ++j) {
                CHECK(records[j].getSuite() != r->getSuite());
            }
        }
    }
}

int main(void) {
    void* plugin = dlopen(VEXIL_TEST_PLUGIN_PATH, RTLD_NOW | RTLD_LOCAL);
    if (!plugin) {
        fprintf(stderr, "cannot open %s: %s\n", VEXIL_TEST_PLUGIN_PATH, dlerror());
        return 1;
    }
    VexilGetPluginsFn getPlugins = (VexilGetPluginsFn)dlsym(plugin, VEXIL_GET_PLUGINS_SYMBOL);
    VexilRegisterPluginFn registerPlugin = (VexilRegisterPluginFn)dlsym(plugin, VEXIL_REGISTER_PLUGIN_SYMBOL);
    CHECK(getPlugins != NULL);
    CHECK(registerPlugin != NULL);
    if (!getPlugins || !registerPlugin) {
        return 1;
    }

    unsigned int count = 0;
    VexilPluginRecord* first = getPlugins(&count);
    checkRecords(first, count);

    /* A record appended in between is dropped by the next call: the array is emptied, not grown. */
    VexilPluginRecord extra;
    memset(&extra, 0, sizeof extra);
    extra.name = "Extra";
    registerPlugin(&extra);
    count = 0;
    VexilPluginRecord* second = getPlugins(&count);
    checkRecords(second, count);

    if (count == 5) {
        CHECK(second[0].setHost(NULL) == -1);
        second[0].flush();

        void* hostLib = dlopen(VEXIL_TEST_HOST_PATH, RTLD_NOW | RTLD_LOCAL);
        CHECK(hostLib != NULL);
        if (hostLib) {
            QnGetAttributeHostFn getAttributeHost =
                (QnGetAttributeHostFn)dlsym(hostLib, QN_GET_ATTRIBUTE_HOST_SYMBOL);
            CHECK(getAttributeHost != NULL);
            if (getAttributeHost) {
                const VexilHost* host = getAttributeHost();
                CHECK(host != NULL);
                CHECK(second[4].setHost(host) == 0);
                /* With the attribute suite in place every op describes itself as nothing. */
                for (unsigned int i = 0; i < 5; ++i) {
                    const VexilOpSuite* suite = (const VexilOpSuite*)second[i].getSuite();
                    CHECK(suite->describe() == NULL);
                }
            }
        }
    }
    if (g_failures == 0) {
        printf("plug-in records and setHost: all checks passed\n");
    }
    return g_failures == 0 ? 0 : 1;
}
