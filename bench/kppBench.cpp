// Class data layer and delta codec: decode throughput of delta streams at several event
// densities (share of items that are first fails, second fails or in null runs).
#include <kSolan/kSolan.h>
#include <kSolan/kpp/Vs/kppDeltaCompressor.h>

#include "../sim/kSimDeltaEncoder.h"

#include <benchmark/benchmark.h>

#include <random>

namespace
{
using kpp::Vs::DeltaCompressor;

template <typename T, typename Source>
void AttachList(kpp::Data::ArrayList<T>& wrapper, const std::vector<Source>& items)
{
    kObjectGuard list;
    kArrayList_Construct(&list, kpp::Data::ArrayList<T>::ItemType(), 0, kNULL);
    kArrayList_Import(list, kpp::Data::ArrayList<T>::ItemType(), items.data(), items.size());
    wrapper.Attach(list.get());
}

void BM_DeltaDecodeCentres(benchmark::State& state)
{
    static kAssembly assembly = []
    {
        kAssembly a = kNULL;
        kSolan_Construct(&a);
        return a;
    }();
    (void)assembly;

    const kSize count = 1 << 20;
    const double density = state.range(0) / 1000.0;
    std::mt19937 rng(7);
    std::uniform_real_distribution<double> unit(0.0, 1.0);
    std::vector<k32s> values(count);
    std::vector<bool> isNull(count, false);
    k32s v = 1 << 20;
    for (kSize i = 0; i < count; ++i)
    {
        const double u = unit(rng);
        if (u < density / 3)
            isNull[i] = true;
        else if (u < 2 * density / 3)
            v += 1000; // first fail
        else if (u < density)
            v = (k32s)(rng() % (1u << 22)); // second fail
        else
            v += (k32s)(rng() % 61) - 30;
        v &= (1 << 22) - 1;
        values[i] = v;
    }
    ksim::DeltaEncoderParams params;
    ksim::DeltaStream stream;
    if (!ksim::EncodeDeltas(values, isNull, params, stream)) state.SkipWithError("encode");

    DeltaCompressor codec;
    codec.Prediction() = 0;
    DeltaCompressor::Encoding encoding;
    AttachList(encoding.deltas, stream.deltas);
    AttachList(encoding.firstFails, stream.firstFails);
    AttachList(encoding.secondFails, stream.secondFails);
    AttachList(encoding.nulls, stream.nulls);

    std::vector<kCompactSpot> spots(count);
    for (auto _ : state)
    {
        kStatus status = codec.Decode<kCompactSpot, DeltaCompressor::CompactSpotCenterAccessor>(
            encoding, spots.data(), count);
        if (!kSuccess(status)) state.SkipWithError("decode");
        benchmark::DoNotOptimize(spots.data());
    }
    state.counters["Mitems/s"] =
        benchmark::Counter((double)count * state.iterations() / 1e6, benchmark::Counter::kIsRate);
}
} // namespace

// Event density in items per thousand: 0, 1 % and 10 %.
BENCHMARK(BM_DeltaDecodeCentres)->Arg(0)->Arg(10)->Arg(100)->Unit(benchmark::kMillisecond);
