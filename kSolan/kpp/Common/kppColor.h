/**
 * @file    kppColor.h
 * @brief   kpp::Color: a 32-bit ARGB value, the platform's kColor as an element type.
 */
#ifndef KPP_COLOR_H
#define KPP_COLOR_H

#include <kSolan/kpp/Common/kppApiDef.h>

namespace kpp
{
/** Alpha in bits 24-31, red 16-23, green 8-15, blue 0-7. */
struct Color
{
    k32u argb = 0;

    /** a is shifted unmasked, as the sensor's colour tables expect; r, g, b are masked. */
    static Color FromArgb(k32u a, k32u r, k32u g, k32u b)
    {
        return Color{a << 24 | ((r << 16) & 0xFF0000u) | ((g << 8) & 0xFF00u) | (b & 0xFFu)};
    }
    k8u R() const { return (k8u)(argb >> 16); }
    k8u G() const { return (k8u)(argb >> 8); }
    k8u B() const { return (k8u)argb; }
    static kType Type() { return kTypeOf(kColor); }
};
} // namespace kpp

#endif
