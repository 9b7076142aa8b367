// A shared library that is not an op plug-in: it exports no getPlugins.
extern "C" __attribute__((visibility("default"))) int vexilTestNotAPlugin() {
    return 1;
}
