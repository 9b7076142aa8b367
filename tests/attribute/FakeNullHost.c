/* A library at the attribute host's place whose entry point hands out no service table. */
#include <vexil/AttributeHost.h>

__attribute__((visibility("default"))) const VexilHost* getAttributeHost(void) {
    return NULL;
}
