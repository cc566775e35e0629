#include "Handle.h"

namespace ksolan
{
void Check(kStatus status, const std::string& what)
{
    if (!kSuccess(status)) throw Error(what + " (" + kStatus_Name(status) + ")");
}
} // namespace ksolan
