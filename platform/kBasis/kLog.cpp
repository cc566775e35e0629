#include <kBasis/kLog.h>

#include <cstdio>
#include <mutex>
#include <string>

namespace
{
std::mutex s_lock;
kLogSink s_sink = kNULL;
void* s_context = kNULL;
}  // namespace

kFx(void) kLog_SetSink(kLogSink sink, void* context)
{
    std::lock_guard<std::mutex> guard(s_lock);
    s_sink = sink;
    s_context = context;
}

kFx(kStatus) kLog(const kChar* message) { return kLogf("%s", message); }

kFx(kStatus) kLogfv(const kChar* format, va_list args)
{
    va_list copy;
    va_copy(copy, args);
    int length = vsnprintf(nullptr, 0, format, copy);
    va_end(copy);
    if (length < 0) return kSTATUS_BAD_PARAMETER;

    std::string text((size_t)length, '\0');
    vsnprintf(text.data(), text.size() + 1, format, args);
    while (!text.empty() && text.back() == '\n') text.pop_back();

    std::lock_guard<std::mutex> guard(s_lock);
    if (s_sink) s_sink(s_context, text.c_str());
    else fprintf(stderr, "%s\n", text.c_str());
    return kOK;
}

kFx(kStatus) kLogf(const kChar* format, ...)
{
    va_list args;
    va_start(args, format);
    kStatus status = kLogfv(format, args);
    va_end(args);
    return status;
}
