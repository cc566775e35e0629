/* The sensor-platform assembly: every type of the sensor-platform library, in registration order. */
#include <kTessel/kTsApiDef.h>
#include <kBasis/kAssemblyLib.h>
#include <kTessel/kHealthStat.h>
#include <kTessel/kPhasePixel.h>
#include <kTessel/kSpot.h>
#include <kTessel/kStamp.h>
#include <kTessel/kCudaAlloc.h>
#include <kTessel/kCudaStream.h>
#include <kTessel/kMsg.h>
#include <kTessel/kProfileMsg.h>
#include <kTessel/kHealthMsg.h>
#include <kTessel/kPxPipeline.h>
#include <kTessel/kAxAction.h>
#include <kTessel/kCameraPhaseDecoder.h>
#include <kTessel/kStorageStream.h>
#include <kTessel/kDataTree.h>
#include <kTessel/kPlot.h>

kAssembly xxkTesselLib_assembly = kNULL;

#define kAddType(TYPE) kCheck(xkAssembly_AddType(assembly, xx##TYPE##_Register, #TYPE))

namespace
{
kStatus AddTypes(kAssembly assembly)
{
    /* Value records: phase pixels, spots, stamps and health indicators. */
    kAddType(kPhasePixel);
    kAddType(kPhasePixel2);
    kAddType(kSpot);
    kAddType(kFpgaSpot);
    kAddType(kFpgaWideSpot);
    kAddType(kFpgaSpot2i);
    kAddType(kSpot2);
    kAddType(kCompactSpot);
    kAddType(kStamp);
    kAddType(kHealthStat);

    /* Pipeline: messages, ports, blocks and the pipeline that runs them. */
    kAddType(kMsg);
    kAddType(kProfileMsg);
    kAddType(kHealthMsg);
    kAddType(kPxPort);
    kAddType(kPxBlock);
    kAddType(kPxSink);
    kAddType(kPxPipeline);
    kAddType(kPlot);

    /* Actions and the simulated sensor node they program. */
    kAddType(kAxAction);
    kAddType(kRangeLutCaps);
    kAddType(kCameraInfo);
    kAddType(kCameraExt);
    kAddType(kCameraPhaseDecoder);
    kAddType(kCamera);
    kAddType(kProjector);
    kAddType(kSerialOut);
    kAddType(kStorage);
    kAddType(kStorageStream);
    kAddType(kNode);
    kAddType(kSystem);

    /* GPU streams and memory. */
    kAddType(kCudaStream);
    kAddType(kCudaAlloc);

    /* Data trees: calibration and diagnostic records. */
    kAddType(kDataTree);

    return kOK;
}

/* Built when the library loads; keeps one reference of its own. */
struct Boot
{
    Boot()
    {
        kAssembly assembly = kNULL;
        kTesselLib_Construct(&assembly);
    }
} s_boot;
}  // namespace

kFx(kStatus) kTesselLib_Construct(kAssembly* assembly)
{
    static const kAssemblyConstructFx dependencies[] = {kBasisLib_Construct};
    return xkAssembly_ConstructLibrary(assembly, &xxkTesselLib_assembly, "kTessel", dependencies,
                                       kCountOf(dependencies), AddTypes);
}
