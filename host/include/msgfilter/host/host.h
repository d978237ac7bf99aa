#pragma once

// The host interfaces the library calls, as the in-process host substitute provides them.

#include <msgfilter/host/basesystem.h>
#include <msgfilter/host/eventbus.h>
#include <msgfilter/host/msgcatalogue.h>
#include <msgfilter/host/projectmanager.h>
#include <msgfilter/host/singletonholder.h>
