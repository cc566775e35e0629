#include <kSolan/P3d/kP3dSpotCropBlock.h>

kDefineValue(kP3dSpotCropBlockPort, kValue);

kFx(kStatus) xxkP3dSpotCropBlockPort_Register(kAssembly assembly, const kChar* name)
{
    kCheck(kAddEnum(kP3dSpotCropBlockPort));
    kCheck(kAddEnumerator(kP3dSpotCropBlockPort, kP3D_SPOT_CROP_BLOCK_IN_IMAGE));
    return kAddEnumerator(kP3dSpotCropBlockPort, kP3D_SPOT_CROP_BLOCK_OUT_CROPPED_IMAGE);
}
