/**
 * @file    kPxPipeline.h
 * @brief   kPxPipeline: creates blocks by type name, wires their ports and runs them.
 *
 * The pipeline is how the host (and the tests) drives blocks:
 *
 * @code
 *   kPxPipeline pipeline;  kPxBlock limiter;  kPxSink out;
 *   kPxPipeline_Construct(&pipeline, allocator);
 *   kPxPipeline_AddBlock(pipeline, "kVsRateLimitBlock", settings, &limiter);  // runs VOnSetup
 *   kPxPipeline_AddSink(pipeline, limiter, 1, &out);                          // output id 1
 *   kPxPipeline_Start(pipeline);
 *   kPxPipeline_Inject(pipeline, limiter, 0, message, &received);             // input id 0
 *   ... kPxSink_Count(out), kPxSink_At(out, 0) ...
 *   kPxPipeline_Stop(pipeline);
 *   kObject_Destroy(pipeline);                                                // stops first
 * @endcode
 *
 * Delivery: every message sent or injected goes through one queue and is handed to its input
 * by the thread that called Inject (or Start or Resume), one VOnReceive at a time, after the
 * sending VOnReceive has returned; no block is ever re-entered. A message sent on an output
 * connected to several inputs is shared: each receiver holds one reference. Payloads in
 * memory the host cannot read are copied to host memory for inputs that do not accept foreign
 * data (kPxPort_AcceptForeignData).
 *
 * Blocks are started, paused and resumed in the order they were added and stopped in the
 * reverse order. The pipeline is used by one thread at a time.
 */
#ifndef K_TESSEL_PX_PIPELINE_H
#define K_TESSEL_PX_PIPELINE_H

#include <kTessel/kPxBlock.h>
#include <kTessel/kPxSink.h>

typedef kObject kPxPipeline;
kDeclareClass(kPxPipeline, kObject);

/**
 * Constructs an empty, stopped pipeline.
 *
 * @param pipeline   Receives the pipeline (the caller owns one reference).
 * @param allocator  Allocator of the pipeline, its blocks and their ports (null: application).
 */
kFx(kStatus) kPxPipeline_Construct(kPxPipeline* pipeline, kAlloc allocator);

/** Directory against which kPxBlock_FilePath resolves relative names ("" by default). */
kFx(kStatus) kPxPipeline_SetDirectory(kPxPipeline pipeline, const kChar* directory);

/** Payload allocator of the blocks added from now on (null: each block's own allocator). */
kFx(kStatus) kPxPipeline_SetMessageAlloc(kPxPipeline pipeline, kAlloc allocator);

/**
 * Creates a block of a registered block type and runs its VInitialize and VOnSetup.
 *
 * @param typeName  Registered name of a class derived from kPxBlock.
 * @param settings  Settings document to copy (null: an empty document with a root item).
 * @param block     Receives the block (borrowed: the pipeline owns it).
 * @return kOK; kSTATUS_NOT_FOUND for an unknown name; kSTATUS_BAD_PARAMETER for a type that is
 *         not a concrete block; kSTATUS_BAD_STATE once started; the status of a failing
 *         VInitialize or VOnSetup (the block is then released).
 */
kFx(kStatus) kPxPipeline_AddBlock(kPxPipeline pipeline, const kChar* typeName, kXml settings,
                                  kPxBlock* block);

/**
 * Connects an output of one block to an input of another (or the same) block.
 *
 * @return kOK; kSTATUS_NOT_FOUND when either id names no port of that direction;
 *         kSTATUS_DUPLICATE for an existing connection; kSTATUS_BAD_STATE once started.
 */
kFx(kStatus) kPxPipeline_Connect(kPxPipeline pipeline, kPxBlock source, k32u outputId,
                                 kPxBlock destination, k32u inputId);

/**
 * Connects an output to a new sink, which keeps what arrives.
 *
 * @param sink  Receives the sink (borrowed: the pipeline owns it).
 * @return As kPxPipeline_Connect.
 */
kFx(kStatus)
    kPxPipeline_AddSink(kPxPipeline pipeline, kPxBlock source, k32u outputId, kPxSink* sink);

/**
 * Starts every block (VOnStart), then engages every block (VOnEngage), then delivers what was
 * sent meanwhile. When a block fails, the blocks already started are stopped again.
 *
 * @return kOK; kSTATUS_BAD_STATE when already started; the first failing block's status.
 */
kFx(kStatus) kPxPipeline_Start(kPxPipeline pipeline);

/** Pauses every block (VOnPause); messages wait until Resume. @return kSTATUS_BAD_STATE unless
 *  running; else the first failure (every block is still called). */
kFx(kStatus) kPxPipeline_Pause(kPxPipeline pipeline);

/** Resumes every block (VOnResume) and delivers waiting messages. */
kFx(kStatus) kPxPipeline_Resume(kPxPipeline pipeline);

/**
 * Stops every block (VOnStop, in reverse order) and disposes of undelivered messages. A
 * stopped pipeline may be started again.
 *
 * @return kOK (also when not started); else the first failure (every block is still called).
 */
kFx(kStatus) kPxPipeline_Stop(kPxPipeline pipeline);

/** kTRUE between a successful Start and Stop, paused or not. */
kFx(kBool) kPxPipeline_IsStarted(kPxPipeline pipeline);

/**
 * Hands a message to an input of a block and delivers it, and everything it causes, before
 * returning.
 *
 * @param block          A block of this pipeline.
 * @param inputId        Id of one of its inputs.
 * @param message        Message; taken by the pipeline on success only (a message refused by
 *                       its receiver has still been taken).
 * @param receiveStatus  Receives the first failure returned by a VOnReceive during this
 *                       delivery, or kOK (may be null).
 * @return kOK once the message is queued; kSTATUS_BAD_STATE when not running;
 *         kSTATUS_NOT_FOUND when inputId names no input of block; kSTATUS_BAD_PARAMETER for a
 *         block of another pipeline or a message that is not an object.
 */
kFx(kStatus) kPxPipeline_Inject(kPxPipeline pipeline, kPxBlock block, k32u inputId, kObject message,
                                kStatus* receiveStatus);

#endif
