// Precompiled header of the Windows build: the system headers are slow to parse.
#pragma once
#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#include <windows.h>
#ifdef __cplusplus
#include <string>
#include <vector>
#include <atomic>
#include <cstdint>
#endif
