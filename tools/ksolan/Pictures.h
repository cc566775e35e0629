/**
 * @file    Pictures.h
 * @brief   Colour-mapped PNG pictures of scalar maps, with an optional colour-bar legend.
 */
#ifndef KSOLAN_TOOL_PICTURES_H
#define KSOLAN_TOOL_PICTURES_H

#include <kBasis/kValue.h>

#include <string>
#include <vector>

namespace ksolan
{
enum class Palette
{
    Grey,       ///< Black to white.
    Sequential, ///< Dark blue through cyan and yellow to red.
    Cyclic,     ///< Hue wheel: the two ends meet, for wrapped phase.
};

/** A row-major map of values; NaN marks a pixel without a value (drawn black). */
struct ScalarMap
{
    kSize width = 0;
    kSize height = 0;
    std::vector<float> values;
};

/**
 * Writes the map as an RGB PNG, values lo … hi spread over the palette (clamped).
 * With legend set, a colour bar labelled lo and hi (integers) is added below the map.
 * Throws Error when the file cannot be written.
 */
void WritePicture(const std::string& path, const ScalarMap& map, Palette palette, double lo,
                  double hi, bool legend);
} // namespace ksolan

#endif
