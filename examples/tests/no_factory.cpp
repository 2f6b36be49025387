// A shared object that looks like a plug-in by its name but exports no factory: the host must
// refuse it with a message that names the file, not crash.

extern "C" __attribute__((visibility("default"))) int tessarine_example_not_a_factory() {
    return 0;
}
