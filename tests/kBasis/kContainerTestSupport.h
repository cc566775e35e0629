/* Helpers shared by the container tests. */
#ifndef K_CONTAINER_TEST_SUPPORT_H
#define K_CONTAINER_TEST_SUPPORT_H

#include <kTestSupport.h>

#include <string>
#include <vector>

namespace ktest
{
/**
 * As ExpectCleanFailures, for builders whose result holds objects: the successful result is
 * disposed of (with its items) rather than destroyed. Returns the number of allocation steps.
 */
inline kSize ExpectCleanFailuresDisposing(const std::function<kStatus(kAlloc, kObject*)>& build)
{
    for (kSize step = 0; step < 10000; ++step)
    {
        CountingAlloc alloc;
        kCountingAlloc_SetFailAfter(alloc, step);
        kObject handle = kNULL;
        if (kSuccess(build(alloc, &handle)))
        {
            EXPECT_EQ(kObject_Dispose(handle), kOK);
            return step;
        }
        EXPECT_EQ(handle, kNULL) << "failure after " << step << " allocations left a handle";
        EXPECT_EQ(alloc.Outstanding(), 0u) << "failure after " << step << " allocations leaked";
        if (handle || alloc.Outstanding()) return step;
    }
    ADD_FAILURE() << "construction never succeeded";
    return 0;
}

/** The texts of a list of kString. */
inline std::vector<std::string> Texts(kArrayList list)
{
    std::vector<std::string> texts;
    for (kSize i = 0; i < kArrayList_Count(list); ++i)
        texts.emplace_back(kString_Chars(*kArrayList_AtT<kString>(list, i)));
    return texts;
}
} // namespace ktest

#endif
