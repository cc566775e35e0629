#include <kSolan/L3d/kL3dImageCropBlock.h>

kDefineValue(kL3dImageCropBlockPort, kValue);

kFx(kStatus) xxkL3dImageCropBlockPort_Register(kAssembly assembly, const kChar* name)
{
    kCheck(kAddEnum(kL3dImageCropBlockPort));
    kCheck(kAddEnumerator(kL3dImageCropBlockPort, kL3D_IMAGE_CROP_BLOCK_INIMAGE));
    return kAddEnumerator(kL3dImageCropBlockPort, kL3D_IMAGE_CROP_BLOCK_OUTIMAGE);
}
