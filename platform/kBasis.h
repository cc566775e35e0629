/**
 * @file    kBasis.h
 * @brief   Umbrella header of the foundation library.
 */
#ifndef K_BASIS_H
#define K_BASIS_H

#include <kBasis/kApiDef.h>
#include <kBasis/kType.h>
#include <kBasis/kObject.h>
#include <kBasis/kAlloc.h>
#include <kBasis/kAssembly.h>
#include <kBasis/kLog.h>
#include <kBasis/kValue.h>
#include <kBasis/kArray1.h>
#include <kBasis/kArray2.h>
#include <kBasis/kArray3.h>
#include <kBasis/kArrayList.h>
#include <kBasis/kString.h>
#include <kBasis/kImage.h>
#include <kBasis/kIpp.h>
#include <kBasis/kQueue.h>
#include <kBasis/kMap.h>
#include <kBasis/kStream.h>
#include <kBasis/kMemoryStream.h>
#include <kBasis/kXml.h>
#include <kBasis/kFileStream.h>
#include <kBasis/kSerializer.h>
#include <kBasis/kDat5Serializer.h>
#include <kBasis/kDat6Serializer.h>
#include <kBasis/kThread.h>
#include <kBasis/kLock.h>
#include <kBasis/kSemaphore.h>
#include <kBasis/kThreadPool.h>
#include <kBasis/kParallel.h>
#include <kBasis/kMsgQueue.h>
#include <kBasis/kTimer.h>
#include <kBasis/kDateTime.h>
#include <kBasis/kAtomic.h>
#include <kBasis/kFile.h>
#include <kBasis/kDirectory.h>
#include <kBasis/kPath.h>
#include <kBasis/kMath.h>
#include <kBasis/kSpline.h>

#endif
