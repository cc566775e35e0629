/**
 * @file    kNode.h
 * @brief   kNode: a simulated sensor node — cameras, projectors, storage, serial outputs and a
 *          time counter — that records every call made to it.
 *
 * Actions program a node through the operations of kNode, kCamera, kCameraPhaseDecoder,
 * kProjector, kStorage and kSerialOut. This node stands in for the hardware: it keeps what is
 * written to it (tables, patterns, files) for inspection, records each call as one line of
 * text, and can be told to fail chosen operations.
 *
 * Call lines are the operation's name, then its arguments separated by single spaces, for
 * example "kNode_Connect", "kCamera_SetControl 0 16" (camera 0, control 16) or
 * "kCamera_AddExtension 0 kCameraPhaseDecoder". Each operation's header states its line.
 * Cameras, projectors and serial outputs are numbered in the order they were added.
 *
 * Verification: kNode_Verify fails with kSTATUS_CONFLICT while the node holds errors
 * (kNode_AddError), which kNode_ErrorAt then lists, as a sensor reports an inconsistent
 * configuration. kNode_Refresh, kNode_Verify and kNode_Apply need a connected node.
 *
 * The node may be called from several threads (a test thread writing to a serial output while
 * the host reads the time counter); the inspection operations (CallAt, ErrorAt) return text
 * that stays valid until the next call that records, so read them while no other thread calls.
 */
#ifndef K_TESSEL_NODE_H
#define K_TESSEL_NODE_H

#include <kTessel/kCamera.h>
#include <kTessel/kProjector.h>
#include <kTessel/kSerialOut.h>
#include <kTessel/kStorage.h>

typedef kObject kNode;
kDeclareClass(kNode, kObject);

/**
 * Constructs a disconnected node without cameras, projectors or serial outputs.
 *
 * @param node              Receives the node (the caller owns one reference).
 * @param storageDirectory  Directory that backs the node's storage (null: storage in memory).
 * @param allocator         Allocator of the node and everything it holds (null: application).
 */
kFx(kStatus) kNode_Construct(kNode* node, const kChar* storageDirectory, kAlloc allocator);

/** Adds a camera (config null: kCameraConfig_Init defaults). @param camera Receives it
 *  (borrowed; may be null). */
kFx(kStatus) kNode_AddCamera(kNode node, const kCameraConfig* config, kCamera* camera);
/** Adds a projector of the given width in projector columns. */
kFx(kStatus) kNode_AddProjector(kNode node, k32u width, kProjector* projector);
/** Adds a serial output. */
kFx(kStatus) kNode_AddSerialOut(kNode node, kSerialOut* serialOut);

/* ----- Operations used by actions ---------------------------------------------------------- */

/** Connects to the node. Line "kNode_Connect". */
kFx(kStatus) kNode_Connect(kNode node);
/** Disconnects. Line "kNode_Disconnect". */
kFx(kStatus) kNode_Disconnect(kNode node);
kFx(kBool) kNode_IsConnected(kNode node);
/** Re-reads the node's configuration. Line "kNode_Refresh"; kSTATUS_BAD_STATE unless connected. */
kFx(kStatus) kNode_Refresh(kNode node);
/** Checks the configuration. Line "kNode_Verify"; kSTATUS_CONFLICT while errors exist. */
kFx(kStatus) kNode_Verify(kNode node);
/** Errors found by the last Verify (the node's errors). */
kFx(kSize) kNode_ErrorCount(kNode node);
kFx(const kChar*) kNode_ErrorAt(kNode node, kSize index);
/** Applies the configuration to the hardware. Line "kNode_Apply". */
kFx(kStatus) kNode_Apply(kNode node);
/** Verify, then Apply. Lines "kNode_Verify" and "kNode_Apply". */
kFx(kStatus) kNode_VerifyAndApply(kNode node);

kFx(kSize) kNode_CameraCount(kNode node);
/** Camera at index (borrowed), or null. */
kFx(kCamera) kNode_CameraAt(kNode node, kSize index);
kFx(kSize) kNode_ProjectorCount(kNode node);
kFx(kProjector) kNode_ProjectorAt(kNode node, kSize index);
kFx(kSize) kNode_SerialOutCount(kNode node);
kFx(kSerialOut) kNode_SerialOutAt(kNode node, kSize index);
/** The node's storage (borrowed). */
kFx(kStorage) kNode_Storage(kNode node);

/** Time counter: microseconds since the node was constructed. Not recorded. */
kFx(k64u) kNode_TimeCounter(kNode node);

/* ----- Inspection and fault injection ------------------------------------------------------ */

kFx(kSize) kNode_CallCount(kNode node);
/** Call line at index, oldest first (borrowed), or null. */
kFx(const kChar*) kNode_CallAt(kNode node, kSize index);
/** kTRUE when some recorded line equals line. */
kFx(kBool) kNode_HasCall(kNode node, const kChar* line);
/** Number of recorded lines that begin with prefix. */
kFx(kSize) kNode_CountCalls(kNode node, const kChar* prefix);
kFx(kStatus) kNode_ClearCalls(kNode node);

/**
 * Makes every later call of the named operation ("kNode_Apply", "kCamera_WritePrnu", ...)
 * fail with status, after recording its line and without any effect. kOK removes the fault.
 */
kFx(kStatus) kNode_SetFault(kNode node, const kChar* operation, kStatus status);

/** Adds an error that Verify reports. */
kFx(kStatus) kNode_AddError(kNode node, const kChar* text);
kFx(kStatus) kNode_ClearErrors(kNode node);

#endif
