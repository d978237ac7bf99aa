#pragma once

// libmsgfilter: every public class of zefa::msg_filter and the exported rule engine.

#include <msgfilter/msgfilter_export.h>

// Rule engine and stand-alone filter

// Message store
#include <msgfilter/messagemanager.h>
#include <msgfilter/messagenode.h>
#include <msgfilter/messageobject.h>

// Engine side
