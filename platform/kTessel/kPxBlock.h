/**
 * @file    kPxBlock.h
 * @brief   kPxBlock: base class of pipeline blocks, and the services the platform gives them.
 *
 * A block is a node of the data pipeline. The pipeline (kPxPipeline.h) creates it by type name
 * with a settings document and then calls its virtual operations, one at a time per block:
 *
 *     VInitialize → VOnSetup → [VOnStart → VOnEngage → (VOnReceive | VOnPause … VOnResume)*
 *     → VOnStop]* → VOnCleanup → release
 *
 * - VOnSetup defines the ports from the settings and leaves the settings document complete.
 * - VOnStart builds the run-time objects (settings object, algorithms, port handles);
 *   VOnStop destroys them. A failed VOnStart leaves nothing built.
 * - VOnReceive owns the message it is given and disposes of it before returning, whatever
 *   the outcome; a message handed to kPxBlock_Send belongs to the platform from a successful
 *   send on.
 * - A block never runs re-entrantly: messages sent from VOnReceive are queued and delivered
 *   after it returns.
 *
 * Every slot has a platform default, so that a block overrides only what it needs: setup,
 * start, stop, pause and resume succeed doing nothing; receive disposes of the message and
 * succeeds; the description is "".
 *
 * A derived block's instance struct starts with `kPxBlockClass base;`. Its own fields are
 * zero when VOnSetup first runs (and after kPxBlock_ZeroContext).
 */
#ifndef K_TESSEL_PX_BLOCK_H
#define K_TESSEL_PX_BLOCK_H

#include <kTessel/kPxPort.h>
#include <kBasis/kXml.h>

typedef kObject kPxBlock;

/**
 * Virtual operations of blocks, after the root's: 8 VInitialize, 9 VDescription,
 * 10 VOnCleanup, 11 VOnSetup, 12 VOnStart, 13 VOnEngage, 14 VOnStop, 15 VOnPause,
 * 16 VOnResume, 17 VOnReceive.
 */
struct kPxBlockVTable : kObjectVTable
{
    /** Called once, right after the platform has built the block, before its setup. */
    kStatus (*VInitialize)(kPxBlock block);
    /** Constant one-line text shown to users. */
    const kChar* (*VDescription)(void);
    /** Called once after the last stop, before release; ports still exist. */
    kStatus (*VOnCleanup)(kPxBlock block);
    /** Defines the ports from the settings; must leave the settings document complete. */
    kStatus (*VOnSetup)(kPxBlock block);
    /** Builds the run-time state: settings object, algorithm objects, output port handles. */
    kStatus (*VOnStart)(kPxBlock block);
    /** Called once every block of the pipeline has started, before the first message. */
    kStatus (*VOnEngage)(kPxBlock block);
    /** Destroys what VOnStart built and any buffered message. */
    kStatus (*VOnStop)(kPxBlock block);
    kStatus (*VOnPause)(kPxBlock block);
    kStatus (*VOnResume)(kPxBlock block);
    /** Takes a message (kMsg, kProfileMsg, ...) that arrived on input port. */
    kStatus (*VOnReceive)(kPxBlock block, kPxPort port, kObject message);
};

kDeclareVirtualClass(kPxBlock, kObject);

/** Instance header of every block. Private to the platform: use the operations below. */
struct kPxBlockClass
{
    kObjectClass base;
    kXml settings;       // owned settings document
    kPxPort firstPort;   // owned ports, in definition order
    kMemory console;     // text printed with kPxBlock_Printf
    kObject pipeline;    // the pipeline that runs the block (borrowed)
    kAlloc messageAlloc; // payload allocator (borrowed)
    kSize dropCount;     // kPxBlock_NotifyDrop calls
};

/* Platform defaults of the block slots; a derived release calls xkPxBlock_VRelease last. */
kFx(kStatus) xkPxBlock_VRelease(kObject block);
kFx(kStatus) xkPxBlock_VInitialize(kPxBlock block);
kFx(const kChar*) xkPxBlock_VDescription(void);
kFx(kStatus) xkPxBlock_VOnCleanup(kPxBlock block);
kFx(kStatus) xkPxBlock_VOnSetup(kPxBlock block);
kFx(kStatus) xkPxBlock_VOnStart(kPxBlock block);
kFx(kStatus) xkPxBlock_VOnEngage(kPxBlock block);
kFx(kStatus) xkPxBlock_VOnStop(kPxBlock block);
kFx(kStatus) xkPxBlock_VOnPause(kPxBlock block);
kFx(kStatus) xkPxBlock_VOnResume(kPxBlock block);
kFx(kStatus) xkPxBlock_VOnReceive(kPxBlock block, kPxPort port, kObject message);

/** Description of a block type (its VDescription); "" when type is not a block. */
kFx(const kChar*) kPxBlock_Description(kType type);

/** The block's settings document (borrowed). It always has a root item. */
kFx(kXml) kPxBlock_Settings(kPxBlock block);

/**
 * Defines an input port. Call from VOnSetup.
 *
 * @param block  Block.
 * @param name   Port name shown to users (cut to 127 characters).
 * @param id     Port id, unique among the block's inputs and outputs.
 * @param port   Receives the port (borrowed; may be null).
 * @return kOK; kSTATUS_DUPLICATE when the id is taken; kSTATUS_BAD_STATE while the pipeline
 *         runs; kSTATUS_MEMORY.
 */
kFx(kStatus) kPxBlock_DefineInput(kPxBlock block, const kChar* name, k32u id, kPxPort* port);

/** Defines an output port; as kPxBlock_DefineInput. */
kFx(kStatus) kPxBlock_DefineOutput(kPxBlock block, const kChar* name, k32u id, kPxPort* port);

/**
 * Finds a port by id.
 *
 * @param port  Receives the port (borrowed) or null.
 * @return kOK; kSTATUS_NOT_FOUND.
 */
kFx(kStatus) kPxBlock_FindPort(kPxBlock block, k32u id, kPxPort* port);

/** Number of ports (inputs and outputs, in definition order). */
kFx(kSize) kPxBlock_PortCount(kPxBlock block);
/** Port at index (borrowed), or null. */
kFx(kPxPort) kPxBlock_PortAt(kPxBlock block, kSize index);

/**
 * Sends a message on an output port. On success the message belongs to the platform: it is
 * queued for every input connected to the port, or disposed of when the port is not routed.
 * On failure the caller still owns it.
 *
 * Messages sent before the pipeline runs (from VOnStart) or while it is paused wait in the
 * queue until it runs again; those still queued at stop are disposed of.
 *
 * @return kOK; kSTATUS_BAD_PARAMETER when port is not an output of block or message is not an
 *         object; kSTATUS_MEMORY.
 */
kFx(kStatus) kPxBlock_Send(kPxBlock block, kPxPort port, kObject message);

/** Allocator for message payloads (borrowed). */
kFx(kAlloc) kPxBlock_MessageAlloc(kPxBlock block);

/**
 * Zeroes the derived block's own fields (everything after the kPxBlockClass header). Used by
 * start and stop to return to the empty run-time state; owned objects must already be gone.
 */
kFx(kStatus) kPxBlock_ZeroContext(kPxBlock block);

/**
 * Reports that a message (or an expected output) was dropped. The block keeps ownership of
 * message, which may be null; the platform only counts the report.
 */
kFx(kStatus) kPxBlock_NotifyDrop(kPxBlock block, kObject message);

/** Number of kPxBlock_NotifyDrop reports since the block was created. */
kFx(kSize) kPxBlock_DropCount(kPxBlock block);

/**
 * Resolves a file name from the settings against the pipeline's file directory: an absolute
 * name is kept; a relative one is joined to the directory.
 *
 * @return kOK; kSTATUS_BAD_PARAMETER when the path does not fit in capacity.
 */
kFx(kStatus) kPxBlock_FilePath(kPxBlock block, const kChar* fileName, kChar* path, kSize capacity);

/** Prints to the block's console (text appended as formatted; no line feed is added). */
kFx(kStatus) kPxBlock_Printf(kPxBlock block, const kChar* format, ...)
    __attribute__((format(printf, 2, 3)));

/** Everything printed since the last kPxBlock_ClearConsole (borrowed, null-terminated). */
kFx(const kChar*) kPxBlock_Console(kPxBlock block);

kFx(kStatus) kPxBlock_ClearConsole(kPxBlock block);

#endif
