#include <kSolan/S3d/kS3dPhaseDecoder.h>
#include <kSolan/S3d/kernels/kS3dPhaseDecoderHost.h>
#include <kSolan/S3d/kernels/kS3dPhaseDecoderKernels.h>

#include <kTessel/kCudaAlloc.h>
#include <kTessel/kCudaUtils.h>

#if defined(KSOLAN_CUDA_KERNELS)
#include <kSolan/S3d/kernels/kS3dPhaseDecoderCuda.h>
#endif

#include <cmath>

struct kS3dPhaseDecoderClass
{
    kObjectClass base;
    kBool cudaEnabled;
    kSize width;
    kSize height;
    kSize imageCount;
    k32s contrastThreshold;
    k32u phasePeriod;
    kBool exactArctan;
    k64u frameMask;  // bit i: frame i accumulated in the current sequence
    kArray2 output;  // kPhasePixel, height × width; borrowed from Begin
    kArray2 accum;   // kS3dPhaseDecoderAccum, height × width (device memory on the GPU path)
    kArray1 arctan;  // k32s, 65537: round(P × atan(i / 65536) / 2π)
    kArray1 sine;    // k16s, N: round(16384 × sin(2π i / N))
    kArray1 cosine;  // k16s, N: round(16384 × cos(2π i / N))
    k32s tableCount; // N and P the tables were built for, P div 2, P div 4
    k32s tablePeriod;
    k32s halfPeriod;
    k32s quarterPeriod;
    kCudaStream stream; // borrowed; null: default stream
};

kDefineClass(kS3dPhaseDecoder, kObject)

namespace
{
constexpr double kTwoPi = 6.283185307179586476925286766559;

/* Rounds half away from zero. */
inline k32s RoundAway(double value) { return (k32s)std::round(value); }

kStatus xkS3dPhaseDecoder_Init(kS3dPhaseDecoder decoder, kType type, kBool enableCuda, kAlloc alloc)
{
    kS3dPhaseDecoderClass* obj = static_cast<kS3dPhaseDecoderClass*>(decoder);
    kCheck(kObject_Init(decoder, type, alloc));
#if defined(KSOLAN_CUDA_KERNELS)
    obj->cudaEnabled = enableCuda && kCudaDevice_IsAvailable(kTRUE);
#else
    (void)enableCuda; // no GPU kernels in this build
    obj->cudaEnabled = kFALSE;
#endif
    obj->width = 1;
    obj->height = 1;
    obj->imageCount = 1;
    obj->contrastThreshold = 10;
    obj->phasePeriod = 1;
    obj->exactArctan = kFALSE;
    obj->frameMask = 0;
    obj->output = kNULL;
    obj->accum = kNULL;
    obj->arctan = kNULL;
    obj->sine = kNULL;
    obj->cosine = kNULL;
    obj->tableCount = 0;
    obj->tablePeriod = 0;
    obj->halfPeriod = 0;
    obj->quarterPeriod = 0;
    obj->stream = kNULL;
    return kOK;
}

kStatus xkS3dPhaseDecoder_BuildTables(kS3dPhaseDecoderClass* obj)
{
    kAlloc alloc = kObject_Alloc(obj);
    const k32s n = (k32s)obj->imageCount, period = (k32s)obj->phasePeriod;

    kCheck(kDestroyRef(&obj->arctan));
    kCheck(kDestroyRef(&obj->sine));
    kCheck(kDestroyRef(&obj->cosine));
    obj->tableCount = obj->tablePeriod = 0;

    kCheck(kArray1_Construct(&obj->arctan, kTypeOf(k32s), kS3D_PHASE_DECODER_ARCTAN_COUNT, alloc));
    kCheck(kArray1_Construct(&obj->sine, kTypeOf(k16s), (kSize)n, alloc));
    kCheck(kArray1_Construct(&obj->cosine, kTypeOf(k16s), (kSize)n, alloc));

    k32s* arctan = kArray1_DataT<k32s>(obj->arctan);
    for (k32s i = 0; i < kS3D_PHASE_DECODER_ARCTAN_COUNT; ++i)
        arctan[i] = RoundAway(period * std::atan(i / 65536.0) / kTwoPi);

    k16s* sine = kArray1_DataT<k16s>(obj->sine);
    k16s* cosine = kArray1_DataT<k16s>(obj->cosine);
    for (k32s i = 0; i < n; ++i)
    {
        cosine[i] = (k16s)RoundAway(kS3D_PHASE_DECODER_TRIG_ONE * std::cos(kTwoPi * i / n));
        sine[i] = (k16s)RoundAway(kS3D_PHASE_DECODER_TRIG_ONE * std::sin(kTwoPi * i / n));
    }

    obj->tableCount = n;
    obj->tablePeriod = period;
    obj->halfPeriod = period / 2;
    obj->quarterPeriod = period / 4;
    return kOK;
}

bool xkS3dPhaseDecoder_TablesReady(const kS3dPhaseDecoderClass* obj)
{
    return obj->arctan && obj->sine && obj->cosine && obj->tableCount == (k32s)obj->imageCount &&
           obj->tablePeriod == (k32s)obj->phasePeriod;
}

bool xkS3dPhaseDecoder_AccumReady(const kS3dPhaseDecoderClass* obj)
{
    return obj->accum && kArray2_Length(obj->accum, 0) == obj->height &&
           kArray2_Length(obj->accum, 1) == obj->width;
}

bool xkS3dPhaseDecoder_IsShape(kArray2 array, kType itemType, kSize width, kSize height)
{
    return kObject_Is(array, kTypeOf(kArray2)) && kArray2_ItemType(array) == itemType &&
           kArray2_Length(array, 0) == height && kArray2_Length(array, 1) == width;
}

k64u xkS3dPhaseDecoder_FullMask(const kS3dPhaseDecoderClass* obj)
{
    return ((k64u)1 << obj->imageCount) - 1;
}

kS3dPhaseDecoderOutputParams xkS3dPhaseDecoder_OutputParams(const kS3dPhaseDecoderClass* obj)
{
    kS3dPhaseDecoderOutputParams params;
    params.intensityFactor = 256 / obj->tableCount;
    params.intensityShift = 8;
    params.contrastThreshold = obj->contrastThreshold;
    params.period = obj->tablePeriod;
    params.halfPeriod = obj->halfPeriod;
    params.quarterPeriod = obj->quarterPeriod;
    params.arctan = kArray1_DataT<k32s>(obj->arctan);
    return params;
}

kStatus xkS3dPhaseDecoder_UpdateHost(kS3dPhaseDecoderClass* obj, kSize index, const k8u* pixels)
{
    kS3dPhaseDecoderAccum* accum = kArray2_DataT<kS3dPhaseDecoderAccum>(obj->accum);
    const kSize count = obj->width * obj->height;
    const k32s sine = kArray1_DataT<k16s>(obj->sine)[index];
    const k32s cosine = kArray1_DataT<k16s>(obj->cosine)[index];

    if (obj->frameMask == ((k64u)1 << index))
    {
        xkS3dPhaseDecoderHost_First(accum, pixels, count, sine, cosine);
    }
    else if (obj->frameMask != xkS3dPhaseDecoder_FullMask(obj))
    {
        xkS3dPhaseDecoderHost_Add(accum, pixels, count, sine, cosine);
    }
    else
    {
        const kS3dPhaseDecoderOutputParams params = xkS3dPhaseDecoder_OutputParams(obj);
        xkS3dPhaseDecoderHost_Last(accum, pixels, kArray2_DataT<kPhasePixel>(obj->output), count,
                                   sine, cosine, &params, obj->exactArctan);
    }
    return kOK;
}

#if defined(KSOLAN_CUDA_KERNELS)
kStatus xkS3dPhaseDecoder_UpdateCuda(kS3dPhaseDecoderClass* obj, kSize index, const k8u* pixels)
{
    kS3dPhaseDecoderAccum* accum = kArray2_DataT<kS3dPhaseDecoderAccum>(obj->accum);
    void* stream = kCudaStream_Handle(obj->stream);
    const k32s sine = kArray1_DataT<k16s>(obj->sine)[index];
    const k32s cosine = kArray1_DataT<k16s>(obj->cosine)[index];
    const k32s width = (k32s)obj->width, height = (k32s)obj->height;

    if (obj->frameMask == ((k64u)1 << index))
        return xkS3dPhaseDecoderCuda_UpdateFirst(stream, accum, pixels, sine, cosine, width,
                                                 height);
    if (obj->frameMask != xkS3dPhaseDecoder_FullMask(obj))
        return xkS3dPhaseDecoderCuda_UpdateDefault(stream, accum, pixels, sine, cosine, width,
                                                   height);

    // The GPU path has the exact arctangent only: callers that enable the GPU enable it too.
    kAssert(obj->exactArctan);
    if (!obj->exactArctan) return kOK;
    const kS3dPhaseDecoderOutputParams params = xkS3dPhaseDecoder_OutputParams(obj);
    return xkS3dPhaseDecoderCuda_UpdateLast(stream, accum, pixels,
                                            kArray2_DataT<kPhasePixel>(obj->output), sine, cosine,
                                            params.intensityShift, params.intensityFactor,
                                            params.contrastThreshold, params.period, width, height);
}
#endif
} // namespace

kStatus xkS3dPhaseDecoder_VRelease(kObject decoder)
{
    kS3dPhaseDecoderClass* obj = kCastRaw(kS3dPhaseDecoder, decoder);
    kCheck(kDestroyRef(&obj->accum));
    kCheck(kDestroyRef(&obj->arctan));
    kCheck(kDestroyRef(&obj->sine));
    kCheck(kDestroyRef(&obj->cosine));
    return xkObject_VRelease(decoder);
}

kStatus xkS3dPhaseDecoder_VInitClone(kObject, kObject, kAlloc) { return kSTATUS_NOT_IMPLEMENTED; }

kSize xkS3dPhaseDecoder_VSize(kObject decoder)
{
    kS3dPhaseDecoderClass* obj = kCastRaw(kS3dPhaseDecoder, decoder);
    return sizeof(kS3dPhaseDecoderClass) + kObject_Size(obj->accum) + kObject_Size(obj->arctan) +
           kObject_Size(obj->sine) + kObject_Size(obj->cosine);
}

kFx(kStatus) xxkS3dPhaseDecoder_Register(kAssembly assembly, const kChar* name)
{
    kCheck(kAddClass(kS3dPhaseDecoder, kObject));
    kCheck(kAddVMethod(kS3dPhaseDecoder, VRelease));
    kCheck(kAddVMethod(kS3dPhaseDecoder, VInitClone));
    kCheck(kAddVMethod(kS3dPhaseDecoder, VSize));
    return kOK;
}

kFx(kStatus) kS3dPhaseDecoder_Construct(kS3dPhaseDecoder* decoder, kAlloc allocator)
{
    return kS3dPhaseDecoder_ConstructEx(decoder, kFALSE, allocator);
}

kFx(kStatus)
    kS3dPhaseDecoder_ConstructEx(kS3dPhaseDecoder* decoder, kBool enableCuda, kAlloc allocator)
{
    kAlloc alloc = kAlloc_Fallback(allocator);
    kS3dPhaseDecoderClass* obj = kNULL;
    kStatus status;

    if (!kSuccess(status = kAlloc_GetObject(alloc, kTypeOf(kS3dPhaseDecoder), &obj))) return status;
    if (!kSuccess(status =
                      xkS3dPhaseDecoder_Init(obj, kTypeOf(kS3dPhaseDecoder), enableCuda, alloc)))
    {
        kAlloc_FreeRef(alloc, &obj);
        return status;
    }
    *decoder = obj;
    return kOK;
}

kFx(kBool) kS3dPhaseDecoder_CudaEnabled(kS3dPhaseDecoder decoder)
{
    kObjN(kS3dPhaseDecoder, obj, decoder);
    return obj ? obj->cudaEnabled : kFALSE;
}

kFx(kStatus) kS3dPhaseDecoder_SetImageSize(kS3dPhaseDecoder decoder, kSize width, kSize height)
{
    kObjR(kS3dPhaseDecoder, decoder);
    obj->width = width;
    obj->height = height;
    return kOK;
}

kFx(kStatus) kS3dPhaseDecoder_ImageSize(kS3dPhaseDecoder decoder, kSize* width, kSize* height)
{
    kObjR(kS3dPhaseDecoder, decoder);
    if (width) *width = obj->width;
    if (height) *height = obj->height;
    return kOK;
}

kFx(kStatus) kS3dPhaseDecoder_SetImageCount(kS3dPhaseDecoder decoder, kSize count)
{
    kObjR(kS3dPhaseDecoder, decoder);
    kCheckArgs(count >= 3 && count <= kS3D_PHASE_DECODER_MAX_IMAGES);
    obj->imageCount = count;
    return kOK;
}

kFx(kSize) kS3dPhaseDecoder_ImageCount(kS3dPhaseDecoder decoder)
{
    kObjN(kS3dPhaseDecoder, obj, decoder);
    return obj ? obj->imageCount : 0;
}

kFx(kStatus) kS3dPhaseDecoder_SetContrastThreshold(kS3dPhaseDecoder decoder, k32s threshold)
{
    kObjR(kS3dPhaseDecoder, decoder);
    obj->contrastThreshold = threshold;
    return kOK;
}

kFx(k32s) kS3dPhaseDecoder_ContrastThreshold(kS3dPhaseDecoder decoder)
{
    kObjN(kS3dPhaseDecoder, obj, decoder);
    return obj ? obj->contrastThreshold : 0;
}

kFx(kStatus) kS3dPhaseDecoder_SetPhasePeriod(kS3dPhaseDecoder decoder, k32u period)
{
    kObjR(kS3dPhaseDecoder, decoder);
    kCheckArgs(period >= 1 && period <= (k32u)k16S_MAX);
    obj->phasePeriod = period;
    return kOK;
}

kFx(k32u) kS3dPhaseDecoder_PhasePeriod(kS3dPhaseDecoder decoder)
{
    kObjN(kS3dPhaseDecoder, obj, decoder);
    return obj ? obj->phasePeriod : 0;
}

kFx(kStatus) kS3dPhaseDecoder_EnableExactArctan(kS3dPhaseDecoder decoder, kBool enabled)
{
    kObjR(kS3dPhaseDecoder, decoder);
    obj->exactArctan = enabled ? kTRUE : kFALSE;
    return kOK;
}

kFx(kBool) kS3dPhaseDecoder_ExactArctanEnabled(kS3dPhaseDecoder decoder)
{
    kObjN(kS3dPhaseDecoder, obj, decoder);
    return obj ? obj->exactArctan : kFALSE;
}

kFx(kStatus) kS3dPhaseDecoder_SetCudaStream(kS3dPhaseDecoder decoder, kCudaStream stream)
{
    kObjR(kS3dPhaseDecoder, decoder);
    obj->stream = stream;
    return kOK;
}

kFx(kStatus) kS3dPhaseDecoder_Setup(kS3dPhaseDecoder decoder)
{
    kObjR(kS3dPhaseDecoder, decoder);
    if (!xkS3dPhaseDecoder_TablesReady(obj)) kCheck(xkS3dPhaseDecoder_BuildTables(obj));
    if (!xkS3dPhaseDecoder_AccumReady(obj))
    {
        kAlloc valueAlloc = obj->cudaEnabled ? kCudaDeviceAlloc_Instance() : kNULL;
        kCheck(kDestroyRef(&obj->accum));
        kCheck(kArray2_ConstructEx(&obj->accum, kBytes_GetType(sizeof(kS3dPhaseDecoderAccum)),
                                   obj->height, obj->width, kObject_Alloc(obj), valueAlloc));
    }
    return kOK;
}

kFx(kStatus) kS3dPhaseDecoder_Begin(kS3dPhaseDecoder decoder, kArray2 output)
{
    kObjR(kS3dPhaseDecoder, decoder);
    if (obj->cudaEnabled) kCheckArgs(kObject_AllocTraits(output) & kALLOC_TRAIT_DEVICE);
    kCheckArgs(xkS3dPhaseDecoder_IsShape(output, kTypeOf(kPhasePixel), obj->width, obj->height));
    kCheck(kS3dPhaseDecoder_Setup(decoder));
    obj->output = output;
    obj->frameMask = 0;
    return kOK;
}

kFx(kStatus) kS3dPhaseDecoder_Update(kS3dPhaseDecoder decoder, kSize index, kImage image)
{
    kObjR(kS3dPhaseDecoder, decoder);
    kCheckArgs(index < obj->imageCount);
    kCheckArgs(kObject_Is(image, kTypeOf(kImage)) && kImage_PixelType(image) == kTypeOf(k8u));
    kCheckArgs(kImage_Width(image) == obj->width && kImage_Height(image) == obj->height);
    kCheckArgs(kImage_Stride(image) == obj->width * kImage_PixelSize(image));
    kCheckState(obj->output && obj->frameMask != xkS3dPhaseDecoder_FullMask(obj));
    // Settings changed since Begin, or the output was re-shaped: nothing fits any more.
    kCheckState(
        xkS3dPhaseDecoder_TablesReady(obj) && xkS3dPhaseDecoder_AccumReady(obj) &&
        xkS3dPhaseDecoder_IsShape(obj->output, kTypeOf(kPhasePixel), obj->width, obj->height));

    obj->frameMask |= (k64u)1 << index;
    const k8u* pixels = static_cast<const k8u*>(kImage_Data(image));
#if defined(KSOLAN_CUDA_KERNELS)
    if (obj->cudaEnabled) return xkS3dPhaseDecoder_UpdateCuda(obj, index, pixels);
#endif
    return xkS3dPhaseDecoder_UpdateHost(obj, index, pixels);
}

kFx(kBool) kS3dPhaseDecoder_IsComplete(kS3dPhaseDecoder decoder)
{
    kObjN(kS3dPhaseDecoder, obj, decoder);
    if (!obj) return kFALSE;
    const k32u full = ((k32u)1 << obj->imageCount) - 1; // 32-bit, as the mask is tested
    return obj->frameMask == full;
}

kFx(kStatus) kS3dPhaseMap_Intensity(kArray2 phaseMap, kArray2* intensity, kAlloc allocator)
{
    kCheckArgs(intensity);
    kCheckArgs(kObject_Is(phaseMap, kTypeOf(kArray2)) &&
               kArray2_ItemType(phaseMap) == kTypeOf(kPhasePixel));
    const kSize rows = kArray2_Length(phaseMap, 0), columns = kArray2_Length(phaseMap, 1);
    kArray2 map = kNULL;
    kCheck(kArray2_Construct(&map, kTypeOf(k16s), rows, columns, allocator));

    const kPhasePixel* in = kArray2_DataT<kPhasePixel>(phaseMap);
    k16s* out = kArray2_DataT<k16s>(map);
    for (kSize i = 0; i < rows * columns; ++i)
    {
        const bool valid = in[i].intensity != 0 && in[i].phase != k16S_NULL;
        out[i] = valid ? (k16s)in[i].intensity : (k16s)k16S_NULL;
    }
    *intensity = map;
    return kOK;
}

namespace
{
/* One field of every pixel of a phase map, as a new image of the map's shape. */
template <typename T>
kStatus xkS3dPhaseMap_FieldImage(kArray2 phaseMap, T kPhasePixel::*field, kType type,
                                 kAlloc allocator, kImage* image)
{
    const kSize rows = kArray2_Length(phaseMap, 0), columns = kArray2_Length(phaseMap, 1);
    kImage output = kNULL;
    kCheck(kImage_Construct(&output, type, columns, rows, allocator));
    const kPhasePixel* in = kArray2_DataT<kPhasePixel>(phaseMap);
    for (kSize y = 0; y < rows; ++y)
    {
        T* row = static_cast<T*>(kImage_RowAt(output, y));
        for (kSize x = 0; x < columns; ++x)
            row[x] = in[y * columns + x].*field;
    }
    *image = output;
    return kOK;
}
} // namespace

kFx(kStatus) kS3dPhaseMap_Plot(kArray2 phaseMap, kPlot* plot, kAlloc allocator)
{
    kCheckArgs(plot);
    kCheckArgs(kObject_Is(phaseMap, kTypeOf(kArray2)) &&
               kArray2_ItemType(phaseMap) == kTypeOf(kPhasePixel));
    const k64f width = (k64f)kArray2_Length(phaseMap, 1),
               height = (k64f)kArray2_Length(phaseMap, 0);
    kPlot output = kNULL;
    kImage image = kNULL;
    kStatus status;

    kTest(kPlot_Construct(&output, allocator));
    kTest(xkS3dPhaseMap_FieldImage(phaseMap, &kPhasePixel::contrast, kTypeOf(k8u), allocator,
                                   &image));
    kTest(kPlot_Add(output, "Contrast", image));
    image = kNULL;
    kTest(xkS3dPhaseMap_FieldImage(phaseMap, &kPhasePixel::intensity, kTypeOf(k8u), allocator,
                                   &image));
    kTest(kPlot_Add(output, "Intensity", image));
    image = kNULL;
    kTest(
        xkS3dPhaseMap_FieldImage(phaseMap, &kPhasePixel::phase, kTypeOf(k16s), allocator, &image));
    kTest(kPlot_Add(output, "Phase", image));
    image = kNULL;
    kTest(kPlot_SetWorld(output, 0, 0, width, -height));
    kTest(kPlot_SetTitle(output, "Phase Map Plot"));
    *plot = output;
    return kOK;
cleanup:
    kObject_Destroy(image);
    kObject_Dispose(output);
    return status;
}

kFx(kStatus) kS3dIntensity_Accumulate(kArray2 intensity, kArray2 sum, kArray2 count)
{
    kCheckArgs(kObject_Is(intensity, kTypeOf(kArray2)) && kObject_Is(sum, kTypeOf(kArray2)) &&
               kObject_Is(count, kTypeOf(kArray2)));
    const kSize rows = kArray2_Length(intensity, 0), columns = kArray2_Length(intensity, 1);
    kCheckArgs(xkS3dPhaseDecoder_IsShape(intensity, kTypeOf(k16s), columns, rows) &&
               xkS3dPhaseDecoder_IsShape(sum, kTypeOf(k32s), columns, rows) &&
               xkS3dPhaseDecoder_IsShape(count, kTypeOf(k32s), columns, rows));

    const k16s* in = kArray2_DataT<k16s>(intensity);
    k32s* sums = kArray2_DataT<k32s>(sum);
    k32s* counts = kArray2_DataT<k32s>(count);
    for (kSize i = 0; i < rows * columns; ++i)
    {
        if (in[i] == k16S_NULL) continue;
        sums[i] += in[i];
        counts[i] += 1;
    }
    return kOK;
}
