/* Uniform draws from the process-wide generator. */
#include <kSolan/Vs/kVsRand.h>

#include <cstdlib>

kFx(k64f) kVsRand_Uniform(void)
{
    // rand() gives 0 … 2³¹ − 1; three of them fill more than the 53 bits of a double.
    const k64f scale = 1.0 / 2147483648.0;
    k64f u;
    do
    {
        u = (k64f)rand() * scale;
        u = (u + (k64f)rand()) * scale;
        u = (u + (k64f)rand()) * scale;
    } while (u >= 1.0);
    return u;
}
