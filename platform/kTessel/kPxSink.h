/**
 * @file    kPxSink.h
 * @brief   kPxSink: the end of a pipeline connection that keeps what arrives, for inspection.
 *
 * A sink is made by kPxPipeline_AddSink on a block's output and belongs to the pipeline. It
 * keeps every message sent on that output, in arrival order, until cleared.
 */
#ifndef K_TESSEL_PX_SINK_H
#define K_TESSEL_PX_SINK_H

#include <kTessel/kTsApiDef.h>

typedef kObject kPxSink;
kDeclareClass(kPxSink, kObject);

/** Number of messages kept. */
kFx(kSize) kPxSink_Count(kPxSink sink);

/** Message at index, in arrival order (borrowed), or null. */
kFx(kObject) kPxSink_At(kPxSink sink, kSize index);

/** Disposes of every kept message. */
kFx(kStatus) kPxSink_Clear(kPxSink sink);

#endif
