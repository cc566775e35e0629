/**
 * @file    kL3dChartPlotter.h
 * @brief   Chart plotter of the laser family: curves drawn into plots.
 */
#ifndef K_SOLAN_L3D_CHART_PLOTTER_H
#define K_SOLAN_L3D_CHART_PLOTTER_H

#include <kSolan/kSolanDef.h>

/**
 * How a curve is drawn.
 */
typedef k32s kL3dChartPlotterCurveStyle;
#define kL3D_CURVE_STYLE_LINE (0)             ///< Straight segments between points.
#define kL3D_CURVE_STYLE_POINTS (1)           ///< Points only.
#define kL3D_CURVE_STYLE_CROSSES (2)          ///< A cross at each point.
#define kL3D_CURVE_STYLE_CONNECTED_POINTS (3) ///< Points joined by segments.
kDeclareValue(kL3dChartPlotterCurveStyle);

#endif
