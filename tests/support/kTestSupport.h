/**
 * @file    kTestSupport.h
 * @brief   Helpers shared by the test suites: allocation checks, log and cast-failure capture.
 */
#ifndef K_TEST_SUPPORT_H
#define K_TEST_SUPPORT_H

#include <kBasis.h>

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

namespace ktest
{
/** A counting allocator for one test; the test fails if anything is still allocated at the end. */
class CountingAlloc
{
public:
    CountingAlloc();
    ~CountingAlloc();
    operator kAlloc() const { return m_alloc; }
    kAlloc get() const { return m_alloc; }
    kSize Outstanding() const { return kCountingAlloc_Outstanding(m_alloc); }
    kSize Allocated() const { return kCountingAlloc_Allocated(m_alloc); }
    kSize Total() const { return kCountingAlloc_Total(m_alloc); }

private:
    kAlloc m_alloc = kNULL;
};

/**
 * Runs `build` with an allocator that fails after 0, 1, 2, ... allocations until it succeeds.
 * Every failed run must return a failure, leave nothing allocated and leave `*handle` null;
 * the successful run's object is destroyed. Returns the number of allocation steps.
 */
kSize ExpectCleanFailures(const std::function<kStatus(kAlloc alloc, kObject* handle)>& build,
                          kSize maxSteps = 10000);

/** Collects what is logged while it lives. */
class LogCapture
{
public:
    LogCapture();
    ~LogCapture();
    const std::vector<std::string>& Lines() const { return m_lines; }
    bool Contains(const std::string& text) const;

private:
    static void Sink(void* context, const kChar* message);
    std::vector<std::string> m_lines;
};

/** Counts cast failures while it lives (and keeps them out of the log). */
class CastFailCapture
{
public:
    CastFailCapture();
    ~CastFailCapture();
    int Count() const;
    const std::string& LastFile() const;
};

/** Counts failed assertions (kAssert) while it lives, instead of logging or aborting. */
class AssertCapture
{
public:
    AssertCapture();
    ~AssertCapture();
    int Count() const;
    const std::string& LastExpression() const;
};

/** A fresh temporary directory, removed with its contents at scope exit. */
class TempDir
{
public:
    TempDir();
    ~TempDir();
    const std::string& Path() const { return m_path; }
    std::string File(const std::string& name) const { return m_path + "/" + name; }

private:
    std::string m_path;
};
}  // namespace ktest

#endif
