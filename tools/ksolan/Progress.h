/**
 * @file    Progress.h
 * @brief   Progress bar on stderr for per-frame work that runs longer than about a second.
 */
#ifndef KSOLAN_TOOL_PROGRESS_H
#define KSOLAN_TOOL_PROGRESS_H

#include <kBasis/kValue.h>

#include <chrono>
#include <string>

namespace ksolan
{
/**
 * Counts the steps of one stage. The bar appears only when stderr is a terminal and the stage
 * has been running for a second, so short stages and redirected output stay clean.
 */
class Progress
{
public:
    Progress(std::string label, kSize total);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    void Step();

private:
    std::string m_label;
    kSize m_total;
    kSize m_done = 0;
    bool m_terminal;
    bool m_drawn = false;
    std::chrono::steady_clock::time_point m_start;
};
} // namespace ksolan

#endif
