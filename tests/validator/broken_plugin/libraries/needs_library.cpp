#if defined(_WIN32)
__declspec(dllimport)
#endif
    int Needed();

extern const int kNeeded;
const int kNeeded = Needed();
