/// @file
/// Everything that OrsinCore offers.
#pragma once

#include "orsincore/base.h"
#include "orsincore/files.h"
#include "orsincore/io.h"
#include "orsincore/log.h"
#include "orsincore/memory.h"
#include "orsincore/modules.h"
#include "orsincore/network.h"
#include "orsincore/paths.h"
#include "orsincore/primitives.h"
#include "orsincore/processors.h"
#include "orsincore/startup.h"
#include "orsincore/text.h"
#include "orsincore/threads.h"
#include "orsincore/utf.h"
