#include "Progress.h"

#include <cstdio>
#include <unistd.h>

namespace ksolan
{
Progress::Progress(std::string label, kSize total)
    : m_label(std::move(label)), m_total(total), m_terminal(isatty(fileno(stderr)) == 1),
      m_start(std::chrono::steady_clock::now())
{
}

Progress::~Progress()
{
    if (m_drawn) fprintf(stderr, "\r\033[K");
}

void Progress::Step()
{
    ++m_done;
    if (!m_terminal || m_total == 0) return;
    if (!m_drawn && std::chrono::steady_clock::now() - m_start < std::chrono::seconds(1)) return;

    constexpr kSize kBar = 40;
    const kSize filled = kBar * m_done / m_total;
    fprintf(stderr, "\r%-16s [%s%s] %zu/%zu", m_label.c_str(), std::string(filled, '#').c_str(),
            std::string(kBar - filled, '.').c_str(), m_done, m_total);
    fflush(stderr);
    m_drawn = true;
}
} // namespace ksolan
