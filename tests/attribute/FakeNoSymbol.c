/* A library at the attribute host's place that lacks the getAttributeHost entry point. */
__attribute__((visibility("default"))) int notTheAttributeHostEntry(void) {
    return 1;
}
