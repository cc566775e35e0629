/* The foundation assembly: every type of the foundation library, in registration order. */
#include <kBasis/kAlloc.h>
#include <kBasis/kArray1.h>
#include <kBasis/kArray2.h>
#include <kBasis/kArray3.h>
#include <kBasis/kString.h>
#include <kBasis/kAssemblyLib.h>
#include <kBasis/kValue.h>
#include <kBasis/kStream.h>
#include <kBasis/kMemoryStream.h>
#include <kBasis/kXml.h>
#include <kBasis/kFileStream.h>
#include <kBasis/kDat5Serializer.h>
#include <kBasis/kDat6Serializer.h>
#include <kBasis/kImage.h>
#include <kBasis/kQueue.h>
#include <kBasis/kMap.h>
#include <kBasis/kThread.h>
#include <kBasis/kLock.h>
#include <kBasis/kSemaphore.h>
#include <kBasis/kThreadPool.h>
#include <kBasis/kMsgQueue.h>
#include <kBasis/kTimer.h>
#include <kBasis/kFile.h>
#include <kBasis/kSpline.h>

kAssembly xxkBasisLib_assembly = kNULL;

void xkAlloc_BindApp();

#define kAddType(TYPE) kCheck(xkAssembly_AddType(assembly, xx##TYPE##_Register, #TYPE))

namespace
{
kStatus AddTypes(kAssembly assembly)
{
    /* Object model. */
    kAddType(kObject);
    kAddType(kValue);
    kAddType(kAssembly);
    kAddType(kAlloc);
    kAddType(kCountingAlloc);
    kAddType(kMemory);

    /* Scalars. */
    kAddType(k8u);
    kAddType(k8s);
    kAddType(k16u);
    kAddType(k16s);
    kAddType(k32u);
    kAddType(k32s);
    kAddType(k32f);
    kAddType(k64u);
    kAddType(k64s);
    kAddType(k64f);
    kAddType(kBool);
    kAddType(kByte);
    kAddType(kChar);
    kAddType(kSize);
    kAddType(kSSize);
    kAddType(kPointer);
    kAddType(kVoid);

    /* Colours and geometry. */
    kAddType(kRgb);
    kAddType(kArgb);
    kAddType(kRgb24);
    kAddType(kColor);
    kAddType(kPoint16s);
    kAddType(kPoint32s);
    kAddType(kPoint32f);
    kAddType(kPoint64f);
    kAddType(kPoint3d16s);
    kAddType(kPoint3d32s);
    kAddType(kPoint3d32f);
    kAddType(kPoint3d64f);
    kAddType(kPoint4d16s);
    kAddType(kRect16s);
    kAddType(kRect32s);
    kAddType(kRect32f);
    kAddType(kRect64f);
    kAddType(kRect3d64f);
    kAddType(kRotatedRect32s);
    kAddType(kRotatedRect32f);
    kAddType(kText32);

    /* Containers and text. */
    kAddType(kArray1);
    kAddType(kArray2);
    kAddType(kArray3);
    kAddType(kArrayList);
    kAddType(kString);
    kAddType(kPixelFormat);
    kAddType(kImage);
    kAddType(kQueue);
    kAddType(kMap);

    /* Threads, time and files. */
    kAddType(kThread);
    kAddType(kLock);
    kAddType(kSemaphore);
    kAddType(kThreadPool);
    kAddType(kMsgQueue);
    kAddType(kTimer);
    kAddType(kFile);
    kAddType(kSpline);

    /* XML and serialisation. */
    kAddType(kStream);
    kAddType(kMemoryStream);
    kAddType(kXml);
    kAddType(kFileStream);
    kAddType(kSerializer);
    kAddType(kDat5Serializer);
    kAddType(kDat6Serializer);

    return kOK;
}

/* The foundation is built when the library loads and keeps one reference of its own. */
struct Boot
{
    Boot()
    {
        kAssembly assembly = kNULL;
        kBasisLib_Construct(&assembly);
    }
} s_boot;
}  // namespace

kFx(kStatus) kBasisLib_Construct(kAssembly* assembly)
{
    kCheck(xkAssembly_ConstructLibrary(assembly, &xxkBasisLib_assembly, "kBasis", kNULL, 0, AddTypes));
    xkAlloc_BindApp();
    return kOK;
}
