#include <kSolan/S3d/kS3dStripeDecoder.h>

struct kS3dStripeDecoderClass
{
    kObjectClass base;
    kSize width;
    kSize height;
    kSize stripeCount;       // n
    kSize contrastThreshold; // T
    kArray1 grayToBinary;    // k8u, 256: binary of each n-bit Gray code, 255 above 2^n - 1
    kSize tableCount;        // n the table was built for; 0: none
    kArray2 reference;       // k8u, height × width
    k64u stripeMask;         // bit 1 << (n - index - 1) per stripe frame received
    kArray2 output;          // k8u codes, height × width; borrowed from Begin
};

kDefineClass(kS3dStripeDecoder, kObject)

    namespace
{
    /* Which rule a stripe frame follows: the first of a sequence, a middle one, or the last. */
    enum class StripeFrame
    {
        First,
        Middle,
        Last
    };

    template <StripeFrame kFrame>
    void xkS3dStripeDecoder_Apply(k8u * codes, const k8u* pixels, const k8u* reference, kSize count,
                                  k32s bit, k32s threshold, const k8u* table)
    {
        for (kSize i = 0; i < count; ++i)
        {
            const k32s p = pixels[i], d = p - (k32s)reference[i];
            if constexpr (kFrame == StripeFrame::First)
            {
                codes[i] = (k8u)(p == 255 || d >= threshold ? bit
                                 : d <= -threshold          ? 0
                                                            : kS3D_STRIPE_CODE_NULL);
            }
            else
            {
                // Saturation counts as bright; in the last frame only when not below the reference.
                const bool saturated = p == 255 && (kFrame == StripeFrame::Middle || d >= 0);
                k32s code = codes[i];
                if (!saturated && d > -threshold && d < threshold)
                    code = kS3D_STRIPE_CODE_NULL;
                else if (saturated || d >= threshold)
                    code |= bit;
                codes[i] = (k8u)(kFrame == StripeFrame::Last ? table[code] : code);
            }
        }
    }

    kStatus xkS3dStripeDecoder_Init(kS3dStripeDecoder decoder, kType type, kAlloc alloc)
    {
        kS3dStripeDecoderClass* obj = static_cast<kS3dStripeDecoderClass*>(decoder);
        kCheck(kObject_Init(decoder, type, alloc));
        obj->width = 1;
        obj->height = 1;
        obj->stripeCount = 1;
        obj->contrastThreshold = 10;
        obj->grayToBinary = kNULL;
        obj->tableCount = 0;
        obj->reference = kNULL;
        obj->stripeMask = 0;
        obj->output = kNULL;
        return kOK;
    }

    bool xkS3dStripeDecoder_IsMap(kArray2 map, kSize width, kSize height)
    {
        return kObject_Is(map, kTypeOf(kArray2)) && kArray2_ItemType(map) == kTypeOf(k8u) &&
               kArray2_Length(map, 0) == height && kArray2_Length(map, 1) == width;
    }

    bool xkS3dStripeDecoder_IsFrame(const kS3dStripeDecoderClass* obj, kImage image)
    {
        return kObject_Is(image, kTypeOf(kImage)) && kImage_PixelType(image) == kTypeOf(k8u) &&
               kImage_Width(image) == obj->width && kImage_Height(image) == obj->height &&
               kImage_Stride(image) == obj->width;
    }

    /* Begin has given a map, and size and count still match what Setup built. */
    bool xkS3dStripeDecoder_IsOpen(const kS3dStripeDecoderClass* obj)
    {
        return obj->output && obj->tableCount == obj->stripeCount &&
               xkS3dStripeDecoder_IsMap(obj->reference, obj->width, obj->height) &&
               xkS3dStripeDecoder_IsMap(obj->output, obj->width, obj->height);
    }

    k64u xkS3dStripeDecoder_FullMask(const kS3dStripeDecoderClass* obj)
    {
        return ((k64u)1 << obj->stripeCount) - 1;
    }
} // namespace

kStatus xkS3dStripeDecoder_VRelease(kObject decoder)
{
    kS3dStripeDecoderClass* obj = kCastRaw(kS3dStripeDecoder, decoder);
    kCheck(kDestroyRef(&obj->grayToBinary));
    kCheck(kDestroyRef(&obj->reference));
    return xkObject_VRelease(decoder);
}

kStatus xkS3dStripeDecoder_VInitClone(kObject, kObject, kAlloc) { return kSTATUS_NOT_IMPLEMENTED; }

kSize xkS3dStripeDecoder_VSize(kObject decoder)
{
    kS3dStripeDecoderClass* obj = kCastRaw(kS3dStripeDecoder, decoder);
    return sizeof(kS3dStripeDecoderClass) + kObject_Size(obj->grayToBinary) +
           kObject_Size(obj->reference);
}

kFx(kStatus) xxkS3dStripeDecoder_Register(kAssembly assembly, const kChar* name)
{
    kCheck(kAddClass(kS3dStripeDecoder, kObject));
    kCheck(kAddVMethod(kS3dStripeDecoder, VRelease));
    kCheck(kAddVMethod(kS3dStripeDecoder, VInitClone));
    kCheck(kAddVMethod(kS3dStripeDecoder, VSize));
    return kOK;
}

kFx(k32u) kS3dGrayCode_ToBinary(k32u gray, kSize bits)
{
    k32u v = gray;
    for (kSize s = 1; s < bits; s *= 2)
        v ^= v >> s;
    return v;
}

kFx(kStatus) kS3dStripeDecoder_Construct(kS3dStripeDecoder* decoder, kAlloc allocator)
{
    kAlloc alloc = kAlloc_Fallback(allocator);
    kS3dStripeDecoderClass* obj = kNULL;
    kStatus status;

    if (!kSuccess(status = kAlloc_GetObject(alloc, kTypeOf(kS3dStripeDecoder), &obj)))
        return status;
    if (!kSuccess(status = xkS3dStripeDecoder_Init(obj, kTypeOf(kS3dStripeDecoder), alloc)))
    {
        kAlloc_FreeRef(alloc, &obj);
        return status;
    }
    *decoder = obj;
    return kOK;
}

kFx(kStatus) kS3dStripeDecoder_SetImageSize(kS3dStripeDecoder decoder, kSize width, kSize height)
{
    kObjR(kS3dStripeDecoder, decoder);
    obj->width = width;
    obj->height = height;
    return kOK;
}

kFx(kStatus) kS3dStripeDecoder_ImageSize(kS3dStripeDecoder decoder, kSize* width, kSize* height)
{
    kObjR(kS3dStripeDecoder, decoder);
    if (width) *width = obj->width;
    if (height) *height = obj->height;
    return kOK;
}

kFx(kStatus) kS3dStripeDecoder_SetStripeImageCount(kS3dStripeDecoder decoder, kSize count)
{
    kObjR(kS3dStripeDecoder, decoder);
    kCheckArgs(count >= 1 && count <= 8);
    obj->stripeCount = count;
    return kOK;
}

kFx(kSize) kS3dStripeDecoder_StripeImageCount(kS3dStripeDecoder decoder)
{
    kObjN(kS3dStripeDecoder, obj, decoder);
    return obj ? obj->stripeCount : 0;
}

kFx(kStatus) kS3dStripeDecoder_SetContrastThreshold(kS3dStripeDecoder decoder, kSize threshold)
{
    kObjR(kS3dStripeDecoder, decoder);
    obj->contrastThreshold = threshold;
    return kOK;
}

kFx(kSize) kS3dStripeDecoder_ContrastThreshold(kS3dStripeDecoder decoder)
{
    kObjN(kS3dStripeDecoder, obj, decoder);
    return obj ? obj->contrastThreshold : 0;
}

kFx(kStatus) kS3dStripeDecoder_Setup(kS3dStripeDecoder decoder)
{
    kObjR(kS3dStripeDecoder, decoder);
    kAlloc alloc = kObject_Alloc(obj);

    if (obj->tableCount != obj->stripeCount)
    {
        if (!obj->grayToBinary)
            kCheck(kArray1_Construct(&obj->grayToBinary, kTypeOf(k8u), 256, alloc));
        k8u* table = kArray1_DataT<k8u>(obj->grayToBinary);
        const k32u codes = (k32u)1 << obj->stripeCount;
        for (k32u g = 0; g < 256; ++g)
            table[g] = (k8u)(g < codes ? kS3dGrayCode_ToBinary(g, obj->stripeCount)
                                       : kS3D_STRIPE_CODE_NULL);
        obj->tableCount = obj->stripeCount;
    }
    if (!xkS3dStripeDecoder_IsMap(obj->reference, obj->width, obj->height))
    {
        kCheck(kDestroyRef(&obj->reference));
        kCheck(kArray2_Construct(&obj->reference, kTypeOf(k8u), obj->height, obj->width, alloc));
    }
    return kOK;
}

kFx(kStatus) kS3dStripeDecoder_Begin(kS3dStripeDecoder decoder, kArray2 codeMap)
{
    kObjR(kS3dStripeDecoder, decoder);
    kCheckArgs(xkS3dStripeDecoder_IsMap(codeMap, obj->width, obj->height));
    kCheck(kS3dStripeDecoder_Setup(decoder));
    obj->output = codeMap;
    obj->stripeMask = 0;
    return kOK;
}

kFx(kStatus) kS3dStripeDecoder_UpdateReferenceImage(kS3dStripeDecoder decoder, kImage image)
{
    kObjR(kS3dStripeDecoder, decoder);
    kCheckArgs(xkS3dStripeDecoder_IsFrame(obj, image));
    kCheckState(xkS3dStripeDecoder_IsOpen(obj));
    return kMemCopy(kArray2_Data(obj->reference), kImage_Data(image), obj->width * obj->height);
}

kFx(kStatus)
    kS3dStripeDecoder_UpdateStripeImage(kS3dStripeDecoder decoder, kSize index, kImage image)
{
    kObjR(kS3dStripeDecoder, decoder);
    kCheckArgs(index < obj->stripeCount && xkS3dStripeDecoder_IsFrame(obj, image));
    kCheckState(xkS3dStripeDecoder_IsOpen(obj) &&
                obj->stripeMask != xkS3dStripeDecoder_FullMask(obj));

    const k64u bit = (k64u)1 << (obj->stripeCount - index - 1);
    obj->stripeMask |= bit;

    k8u* codes = kArray2_DataT<k8u>(obj->output);
    const k8u* pixels = static_cast<const k8u*>(kImage_Data(image));
    const k8u* reference = kArray2_DataT<k8u>(obj->reference);
    const k8u* table = kArray1_DataT<k8u>(obj->grayToBinary);
    const kSize count = obj->width * obj->height;
    const k32s threshold = (k32s)kMin_(obj->contrastThreshold, (kSize)k32S_MAX);

    if (obj->stripeMask == bit)
    {
        xkS3dStripeDecoder_Apply<StripeFrame::First>(codes, pixels, reference, count, (k32s)bit,
                                                     threshold, table);
        // A single stripe frame is also the last: its code is a Gray code of one bit.
        if (obj->stripeMask == xkS3dStripeDecoder_FullMask(obj))
            for (kSize i = 0; i < count; ++i)
                codes[i] = table[codes[i]];
    }
    else if (obj->stripeMask != xkS3dStripeDecoder_FullMask(obj))
    {
        xkS3dStripeDecoder_Apply<StripeFrame::Middle>(codes, pixels, reference, count, (k32s)bit,
                                                      threshold, table);
    }
    else
    {
        xkS3dStripeDecoder_Apply<StripeFrame::Last>(codes, pixels, reference, count, (k32s)bit,
                                                    threshold, table);
    }
    return kOK;
}

kFx(kBool) kS3dStripeDecoder_IsComplete(kS3dStripeDecoder decoder)
{
    kObjN(kS3dStripeDecoder, obj, decoder);
    if (!obj) return kFALSE;
    const k32u full = ((k32u)1 << obj->stripeCount) - 1; // 32-bit, as the mask is tested
    return obj->stripeMask == full;
}
