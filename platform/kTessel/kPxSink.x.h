/* Sink services used by the pipeline. */
#ifndef K_TESSEL_PX_SINK_X_H
#define K_TESSEL_PX_SINK_X_H

#include <kTessel/kPxSink.h>

kStatus xkPxSink_Construct(kPxSink* sink, kAlloc allocator);

/* Keeps message; takes it on success only. */
kStatus xkPxSink_Add(kPxSink sink, kObject message);

#endif
