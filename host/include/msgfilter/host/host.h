#pragma once

// The host interfaces the library calls, as the in-process host substitute provides them.

#include <msgfilter/host/basesystem.h>
