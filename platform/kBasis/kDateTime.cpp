#include <kBasis/kDateTime.h>

#include <chrono>
#include <cstdio>

kFx(kDateTime) kDateTime_Now(void)
{
    auto now = std::chrono::system_clock::now().time_since_epoch();
    return (kDateTime)std::chrono::duration_cast<std::chrono::microseconds>(now).count();
}

kFx(kStatus) kDateTime_Format(kDateTime dateTime, kChar* text, kSize capacity)
{
    using namespace std::chrono;
    kCheckArgs(text && capacity > kDATE_TIME_FORMAT_LENGTH);

    /* Whole seconds rounded down, so that times before 1970 keep their date. */
    sys_seconds seconds =
        floor<std::chrono::seconds>(sys_time<microseconds>(microseconds(dateTime)));
    sys_days days = floor<std::chrono::days>(seconds);
    kCheckArgs(days >= sys_days(year(0) / 1 / 1) && days < sys_days(year(10000) / 1 / 1));
    year_month_day date(days);
    hh_mm_ss<std::chrono::seconds> time(seconds - days);

    snprintf(text, capacity, "%04d-%02u-%02u %02d:%02d:%02d", (int)date.year(),
             (unsigned)date.month(), (unsigned)date.day(), (int)time.hours().count(),
             (int)time.minutes().count(), (int)time.seconds().count());
    return kOK;
}
