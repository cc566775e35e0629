#include <kTessel/kHealthStat.h>

kDefineValue(kHealthStat, kValue);

kFx(kStatus) xxkHealthStat_Register(kAssembly assembly, const kChar* name)
{
    kCheck(kAddValue(kHealthStat, kValue));
    kCheck(kAddField(kHealthStat, k32u, id));
    return kAddField(kHealthStat, k64s, value);
}
