// A shared object that is no effect.
extern "C" __attribute__((visibility("default"))) int someOtherFunction() { return 0; }
