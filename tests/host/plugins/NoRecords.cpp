// An op plug-in library that offers no records.
#include <vexil/VexilPlugin.h>

extern "C" __attribute__((visibility("default"))) VexilPluginRecord* getPlugins(unsigned int* count) {
    *count = 0;
    return nullptr;
}
