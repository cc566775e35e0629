/**
 * @file    kPlot.h
 * @brief   kPlot: a set of named display items (images, arrays of points) with the world
 *          rectangle they are drawn in, sent on a block's plot output.
 *
 * A plot owns its items: kPlot_Add takes the reference it is given, and the plot disposes of
 * its items when it goes.
 */
#ifndef K_TESSEL_PLOT_H
#define K_TESSEL_PLOT_H

#include <kTessel/kTsApiDef.h>

typedef kObject kPlot;
kDeclareClass(kPlot, kObject);

/** Constructs an empty, untitled plot whose world is the unit square (0, 0) … (1, 1). */
kFx(kStatus) kPlot_Construct(kPlot* plot, kAlloc allocator);

/**
 * Adds an item under a name (names need not be unique; items keep the order of addition).
 *
 * @param name  Name shown with the item (copied).
 * @param item  Item; the plot takes this reference on success only.
 * @return kOK; kSTATUS_BAD_PARAMETER for a null name or an item that is not an object;
 *         kSTATUS_MEMORY.
 */
kFx(kStatus) kPlot_Add(kPlot plot, const kChar* name, kObject item);

/**
 * Sets the world rectangle by two corners: (x0, y0) is drawn at the top left of the view and
 * (x1, y1) at the bottom right, so y1 < y0 puts image rows downwards.
 */
kFx(kStatus) kPlot_SetWorld(kPlot plot, k64f x0, k64f y0, k64f x1, k64f y1);

/** The world corners (any output may be null). */
kFx(kStatus) kPlot_World(kPlot plot, k64f* x0, k64f* y0, k64f* x1, k64f* y1);

/**
 * Sets the title shown above the plot (copied; at most 63 characters are kept, longer titles
 * are cut). A null title clears it.
 */
kFx(kStatus) kPlot_SetTitle(kPlot plot, const kChar* title);

/** The title (borrowed; empty when none was set), or null for a null plot. */
kFx(const kChar*) kPlot_Title(kPlot plot);

kFx(kSize) kPlot_Count(kPlot plot);
/** Name of item index (borrowed), or null. */
kFx(const kChar*) kPlot_NameAt(kPlot plot, kSize index);
/** Item index (borrowed), or null. */
kFx(kObject) kPlot_ItemAt(kPlot plot, kSize index);

#endif
