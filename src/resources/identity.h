// The effect's identity. The property list, the registration callback and global set-up take their values from this
// file only, because hosts compare the three, and refuse the effect or warn if they differ.
//
// The values are macros, because the resource compiler reads this file, too. C++ code uses entry/identity_checks.h.
#pragma once

#define NUV_EFFECT_NAME "NUV Chromatic Aberration"
#define NUV_EFFECT_NAME_LENGTH "\030" /* one byte in octal, as the property list stores it */
#define NUV_MATCH_NAME "nuv_chromaber"
#define NUV_MATCH_NAME_LENGTH "\015"
#define NUV_CATEGORY "NUV"
#define NUV_CATEGORY_LENGTH "\003"
#define NUV_ENTRY_POINT "EffectMain"
#define NUV_KIND 0x65464B54L /* 'eFKT': an After Effects effect */

#define NUV_API_VERSION 13
#define NUV_API_SUBVERSION 27
#define NUV_RESERVED_INFO 8L

// For the version resource, which Windows shows and the installer reads.
#define NUV_FILE_NAME "nuv_chromaber.aex"
#define NUV_DESCRIPTION "NUV Chromatic Aberration, an effect for After Effects and Premiere Pro"
#define NUV_PUBLISHER "The NUV Chromatic Aberration authors"
#define NUV_COPYRIGHT "Copyright (c) 2026 The NUV Chromatic Aberration authors, MIT License"

#define NUV_VERSION_MAJOR 2
#define NUV_VERSION_MINOR 0
#define NUV_VERSION 0x00100001L /* 2.0, bug-fix 0, stage develop, build 1 */

#define NUV_OUT_FLAGS 0x06008244L
#define NUV_OUT_FLAGS2 0x08021488L
