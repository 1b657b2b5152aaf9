// The families of checks. The checks of a family lie in validator/checks/<family>.cpp, and their controls in a file
// of the same name in tests/validator/broken_plugin/controls/.
#pragma once

// Calls `family` with the name of each family that this system has, in the order in which the families run. The
// family FaultsSetup lies in faults_setup.cpp, and its functions are FaultsSetupChecks and FaultsSetupControls. The
// file of a family that is missing here does not compile, because its function is not declared.
// clang-format off
#define NUV_FAMILIES(family)      \
    family(Loading)               \
    family(Registration)          \
    family(Setup)                 \
    family(SetupParams)           \
    family(About)                 \
    family(Sequence)              \
    family(SequenceData)          \
    family(Prerender)             \
    family(Render)                \
    family(Layout)                \
    family(Pixels)                \
    family(Threads)               \
    family(FaultsRender)          \
    family(FaultsSetup)           \
    NUV_LINUX_FAMILIES(family)    \
    family(Misuse)                \
    family(Exceptions)            \
    NUV_WINDOWS_FAMILIES(family)
// clang-format on

// The families that only one system has. Their files lie in linux/ or windows/.
#if defined(_WIN32)
#define NUV_LINUX_FAMILIES(family)
#define NUV_WINDOWS_FAMILIES(family) family(ForeignExceptions) family(PropertyList)
#else
#define NUV_LINUX_FAMILIES(family) family(FaultsSystem)
#define NUV_WINDOWS_FAMILIES(family)
#endif
