/* Fit settings of one direction of a two-variable fit. */
#include <kSolan/Common/kPolynomialFitParams.h>

kDefineValue(kPolynomialFitParams, kValue);

static_assert(sizeof(kPolynomialFitParams) == 24, "kPolynomialFitParams is a 24-byte value");

kStatus xxkPolynomialFitParams_Register(kAssembly assembly, const kChar* name)
{
    return kAddValue(kPolynomialFitParams, kValue);
}
