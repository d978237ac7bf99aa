#pragma once

// libmsgfilter: every public class of zefa::msg_filter and the exported rule engine.

#include <msgfilter/msgfilter_export.h>

// Rule engine and stand-alone filter
#include <msgfilter/ivisitor.h>
#include <msgfilter/zefaenginmsgparser.h>
#include <msgfilter/zefamsgfilter.h>
#include <msgfilter/zefamsgparserengin.h>
#include <msgfilter/zefamsgparserrule.h>
#include <msgfilter/zefamsgtarget.h>

// Message store
#include <msgfilter/messagemanager.h>
#include <msgfilter/messagenode.h>
#include <msgfilter/messageobject.h>

// Engine side
#include <msgfilter/enginemessagemanager.h>
