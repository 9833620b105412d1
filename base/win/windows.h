// The one door to the Windows headers; only *_win.cpp files include it.
#pragma once

#include <windows.h>
