// A library that the plug-in needs and that is never beside it.
#if defined(_WIN32)
__declspec(dllexport)
#endif
    int Needed();

int Needed() {
    return 1;
}
