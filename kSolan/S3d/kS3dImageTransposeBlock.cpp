#include <kSolan/S3d/kS3dImageTransposeBlock.h>

kDefineValue(kS3dImageTransposeBlockPort, kValue);

kFx(kStatus) xxkS3dImageTransposeBlockPort_Register(kAssembly assembly, const kChar* name)
{
    kCheck(kAddEnum(kS3dImageTransposeBlockPort));
    kCheck(kAddEnumerator(kS3dImageTransposeBlockPort, kS3D_IMAGE_TRANSPOSE_BLOCK_INIMAGE));
    return kAddEnumerator(kS3dImageTransposeBlockPort, kS3D_IMAGE_TRANSPOSE_BLOCK_OUTIMAGE);
}
