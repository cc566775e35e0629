/* Statistics helpers of the imaging utilities. */
#include <kSolan/Vs/kVsMath.h>

#include <algorithm>
#include <cmath>

kFx(k64f) kVsMath_Percentile64f(const k64f* values, kSize count, k64f percent)
{
    if (!values || count == 0 || !(percent >= 0.0 && percent <= 100.0))
        return (k64f)kSTATUS_BAD_PARAMETER;

    k64f pos = (k64f)count * percent / 100.0 - 0.5;
    pos = kMin_(kMax_(pos, 0.0), (k64f)(count - 1));
    const kSize i = (kSize)std::floor(pos);
    const k64f f = pos - (k64f)i;

    kArray1 sorted = kNULL;
    kStatus status = kArray1_Construct(&sorted, kTypeOf(k64f), count, kNULL);
    if (!kSuccess(status)) return (k64f)status;

    k64f* v = static_cast<k64f*>(kArray1_Data(sorted));
    kMemCopy(v, values, count * sizeof(k64f));
    // A strict weak order even with NaN present: NaN after every number.
    std::sort(v, v + count,
              [](k64f a, k64f b) { return a < b || (!std::isnan(a) && std::isnan(b)); });

    const k64f result = (f == 0.0) ? v[i] : v[i] * (1.0 - f) + v[i + 1] * f;
    kDestroyRef(&sorted);
    return result;
}
