#include <kBasis/kParallel.h>
#include <kBasis/kThread.h>

#include <thread>
#include <vector>

kFx(kSize) kParallelArgs_Begin(const kParallelArgs* args) { return args->begin; }
kFx(kSize) kParallelArgs_End(const kParallelArgs* args) { return args->end; }
kFx(kSize) kParallelArgs_Index(const kParallelArgs* args) { return args->index; }
kFx(kSize) kParallelArgs_Count(const kParallelArgs* args) { return args->count; }

kFx(kStatus) kParallel_Execute(kParallelFx function, kPointer context, kSize count)
{
    return kParallel_ExecuteEx(function, context, count, 0);
}

kFx(kStatus)
    kParallel_ExecuteEx(kParallelFx function, kPointer context, kSize count, kSize threadCount)
{
    kCheckArgs(function);
    if (count == 0) return kOK;

    kSize parts = kMin_(threadCount ? threadCount : kThread_ProcessorCount(), count);
    kSize quotient = count / parts, remainder = count % parts;

    struct Part
    {
        kParallelArgs args;
        kStatus status;
    };
    std::vector<Part> work;
    std::vector<std::thread> threads;
    try
    {
        work.resize(parts);
        threads.reserve(parts - 1);
    }
    catch (...)
    {
        return kSTATUS_MEMORY;
    }

    for (kSize i = 0, begin = 0; i < parts; ++i)
    {
        kSize length = quotient + (i < remainder ? 1 : 0);
        work[i] = {{i, parts, begin, begin + length}, kOK};
        begin += length;
    }

    auto run = [&](kSize i) { work[i].status = function(context, &work[i].args); };

    /* Parts 1 .. n-1 on new threads; whatever could not get a thread joins part 0 here. */
    kSize started = 1;
    for (; started < parts; ++started)
    {
        try
        {
            threads.emplace_back(run, started);
        }
        catch (...)
        {
            break;
        }
    }
    run(0);
    for (kSize i = started; i < parts; ++i)
        run(i);
    for (std::thread& thread : threads)
        thread.join();

    for (const Part& part : work)
        if (!kSuccess(part.status)) return part.status;
    return kOK;
}
