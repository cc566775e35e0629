/**
 * @file    kProjector.h
 * @brief   kProjector: a pattern projector of a (simulated) sensor node.
 *
 * Projectors belong to their node (kNode_AddProjector, kNode_ProjectorAt). Each operation
 * records one call line on the node, shown below; "<p>" is the projector's index.
 */
#ifndef K_TESSEL_PROJECTOR_H
#define K_TESSEL_PROJECTOR_H

#include <kTessel/kTsApiDef.h>
#include <kBasis/kArray2.h>

typedef kObject kProjector;
kDeclareClass(kProjector, kObject);

/** Position of the projector on its node. */
kFx(kSize) kProjector_Index(kProjector projector);
/** Width of a pattern row, in projector columns (not recorded). */
kFx(k32u) kProjector_Width(kProjector projector);

/** "kProjector_Enable <p> <0|1>". */
kFx(kStatus) kProjector_Enable(kProjector projector, kBool enable);
kFx(kBool) kProjector_IsEnabled(kProjector projector);
/** Selects how patterns are sequenced (1: patterns loaded with LoadPatterns).
 * "kProjector_SetPatternMode <p> <mode>". */
kFx(kStatus) kProjector_SetPatternMode(kProjector projector, k32u mode);
/** Frames per sequence. "kProjector_SetFrameCount <p> <count>". */
kFx(kStatus) kProjector_SetFrameCount(kProjector projector, k32u count);
kFx(k32u) kProjector_FrameCount(kProjector projector);
/**
 * Loads the patterns: a kArray2 of k8u, one row per frame, one column per projector column.
 * "kProjector_LoadPatterns <p> <rows>x<columns>".
 *
 * @return kOK; kSTATUS_BAD_PARAMETER for another array or a width other than the projector's.
 */
kFx(kStatus) kProjector_LoadPatterns(kProjector projector, kArray2 patterns);
/** Copy of the patterns last loaded (borrowed), or null. */
kFx(kArray2) kProjector_Patterns(kProjector projector);
/** "kProjector_EnableDynamicFrameRate <p> <0|1>". */
kFx(kStatus) kProjector_EnableDynamicFrameRate(kProjector projector, kBool enable);

#endif
