#include "Pictures.h"

#include "Handle.h"

#include <kBasis/kImage.h>

#include <algorithm>
#include <array>
#include <cmath>

namespace ksolan
{
namespace
{
/* Legend layout in pixels: gap, bar, gap, labels (a 3 × 5 font at scale 2), gap. */
constexpr kSize kGap = 4, kBarHeight = 10, kScale = 2, kGlyphWidth = 3, kGlyphHeight = 5;
constexpr kSize kLegendHeight = kGap + kBarHeight + kGap + kGlyphHeight * kScale + kGap;
constexpr kRgb kBlack = {0, 0, 0, 0}, kBackground = {40, 40, 40, 0}, kInk = {230, 230, 230, 0};

/* Digits 0 … 9, five rows of three bits, top row in the high bits. */
constexpr std::array<k16u, 10> kDigits = {0x7B6F, 0x2C97, 0x73E7, 0x73CF, 0x5BC9,
                                          0x79CF, 0x79EF, 0x7249, 0x7BEF, 0x7BCF};

kRgb Mix(kRgb a, kRgb b, double t)
{
    auto channel = [t](k8u x, k8u y) { return (k8u)std::lround(x + (y - x) * t); };
    return {channel(a.b, b.b), channel(a.g, b.g), channel(a.r, b.r), 0};
}

/* t in 0 … 1. */
kRgb Colour(Palette palette, double t)
{
    switch (palette)
    {
    case Palette::Grey:
    {
        k8u v = (k8u)std::lround(255 * t);
        return {v, v, v, 0};
    }
    case Palette::Sequential:
    {
        // Stops as {b, g, r}: dark blue, blue, teal, yellow, red.
        static constexpr std::array<kRgb, 5> stops = {kRgb{110, 20, 30, 0}, kRgb{220, 110, 40, 0},
                                                      kRgb{150, 200, 50, 0}, kRgb{50, 220, 240, 0},
                                                      kRgb{30, 40, 200, 0}};
        double s = t * (stops.size() - 1);
        kSize i = std::min((kSize)s, stops.size() - 2);
        return Mix(stops[i], stops[i + 1], s - i);
    }
    case Palette::Cyclic:
    default:
    {
        // Hue wheel at full saturation, slightly darkened so that the ends stay readable.
        double h = 6 * (t - std::floor(t));
        auto ramp = [h](double offset)
        {
            double d = std::fabs(std::fmod(h + offset, 6.0) - 3.0);
            return (k8u)std::lround(230 * std::clamp(d - 1.0, 0.0, 1.0));
        };
        return {ramp(2), ramp(4), ramp(0), 0};
    }
    }
}

class Canvas
{
public:
    Canvas(kSize width, kSize height)
    {
        Check(kImage_Construct(m_image.Out(), kTypeOf(kRgb), width, height, kNULL),
              "cannot allocate a picture");
    }
    operator kImage() const { return m_image; }
    kSize Width() const { return kImage_Width(m_image); }
    void Set(kSize x, kSize y, kRgb colour)
    {
        if (x < Width() && y < kImage_Height(m_image)) *kImage_AtT<kRgb>(m_image, x, y) = colour;
    }
    void Fill(kSize x0, kSize y0, kSize width, kSize height, kRgb colour)
    {
        for (kSize y = y0; y < y0 + height; ++y)
            for (kSize x = x0; x < x0 + width; ++x)
                Set(x, y, colour);
    }
    /* Draws a non-negative integer with its left edge at x; returns its width. */
    kSize Number(kSize x, kSize y, long long value)
    {
        std::string text = std::to_string(std::max(value, 0LL));
        for (kSize i = 0; i < text.size(); ++i)
        {
            k16u glyph = kDigits[text[i] - '0'];
            for (kSize row = 0; row < kGlyphHeight; ++row)
                for (kSize col = 0; col < kGlyphWidth; ++col)
                    if (glyph >> (14 - row * kGlyphWidth - col) & 1)
                        Fill(x + i * (kGlyphWidth + 1) * kScale + col * kScale, y + row * kScale,
                             kScale, kScale, kInk);
        }
        return NumberWidth(text.size());
    }
    static kSize NumberWidth(kSize digits) { return digits * (kGlyphWidth + 1) * kScale - kScale; }

private:
    Handle m_image;
};
} // namespace

void WritePicture(const std::string& path, const ScalarMap& map, Palette palette, double lo,
                  double hi, bool legend)
{
    Canvas canvas(map.width, map.height + (legend ? kLegendHeight : 0));
    const double span = hi > lo ? hi - lo : 1.0;
    auto colourOf = [&](double v)
    { return Colour(palette, std::clamp((v - lo) / span, 0.0, 1.0)); };

    for (kSize y = 0; y < map.height; ++y)
        for (kSize x = 0; x < map.width; ++x)
        {
            float v = map.values[y * map.width + x];
            canvas.Set(x, y, std::isnan(v) ? kBlack : colourOf(v));
        }
    if (legend)
    {
        kSize top = map.height;
        canvas.Fill(0, top, map.width, kLegendHeight, kBackground);
        for (kSize x = 0; x < map.width; ++x)
        {
            double t = map.width > 1 ? (double)x / (map.width - 1) : 0.0;
            canvas.Fill(x, top + kGap, 1, kBarHeight, colourOf(lo + t * span));
        }
        kSize labels = top + kGap + kBarHeight + kGap;
        canvas.Number(0, labels, std::llround(lo));
        long long high = std::llround(hi);
        kSize width = Canvas::NumberWidth(std::to_string(std::max(high, 0LL)).size());
        canvas.Number(map.width > width ? map.width - width : 0, labels, high);
    }
    Check(kImage_Export(canvas, path.c_str()), "cannot write " + path);
}
} // namespace ksolan
