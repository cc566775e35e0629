#include <kSolan/L3d/kL3dChartPlotter.h>

kDefineValue(kL3dChartPlotterCurveStyle, kValue);

kFx(kStatus) xxkL3dChartPlotterCurveStyle_Register(kAssembly assembly, const kChar* name)
{
    kCheck(kAddEnum(kL3dChartPlotterCurveStyle));
    kCheck(kAddEnumerator(kL3dChartPlotterCurveStyle, kL3D_CURVE_STYLE_LINE));
    kCheck(kAddEnumerator(kL3dChartPlotterCurveStyle, kL3D_CURVE_STYLE_POINTS));
    kCheck(kAddEnumerator(kL3dChartPlotterCurveStyle, kL3D_CURVE_STYLE_CROSSES));
    return kAddEnumerator(kL3dChartPlotterCurveStyle, kL3D_CURVE_STYLE_CONNECTED_POINTS);
}
