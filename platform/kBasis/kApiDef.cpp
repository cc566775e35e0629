#include <kBasis/kApiDef.h>

kFx(const kChar*) kStatus_Name(kStatus status)
{
    switch (status)
    {
    case kSTATUS_OK: return "kSTATUS_OK";
    case kSTATUS_FAILED: return "kSTATUS_FAILED";
    case kSTATUS_BAD_STATE: return "kSTATUS_BAD_STATE";
    case kSTATUS_NOT_FOUND: return "kSTATUS_NOT_FOUND";
    case kSTATUS_ASSERT: return "kSTATUS_ASSERT";
    case kSTATUS_BAD_PARAMETER: return "kSTATUS_BAD_PARAMETER";
    case kSTATUS_NOT_IMPLEMENTED: return "kSTATUS_NOT_IMPLEMENTED";
    case kSTATUS_MEMORY: return "kSTATUS_MEMORY";
    case kSTATUS_TIMEOUT: return "kSTATUS_TIMEOUT";
    case kSTATUS_INCOMPLETE: return "kSTATUS_INCOMPLETE";
    case kSTATUS_STREAM: return "kSTATUS_STREAM";
    case kSTATUS_CLOSED: return "kSTATUS_CLOSED";
    case kSTATUS_BAD_VERSION: return "kSTATUS_BAD_VERSION";
    case kSTATUS_OVERFLOW: return "kSTATUS_OVERFLOW";
    case kSTATUS_DUPLICATE: return "kSTATUS_DUPLICATE";
    case kSTATUS_BAD_FORMAT: return "kSTATUS_BAD_FORMAT";
    case kSTATUS_CONFLICT: return "kSTATUS_CONFLICT";
    case kSTATUS_NO_SOLUTION: return "kSTATUS_NO_SOLUTION";
    default: return "kSTATUS_UNKNOWN";
    }
}
