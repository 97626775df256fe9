// All public headers.

#pragma once

#include <OstrevanApp.h>
#include <base/OstrevanBase.h>
#include <base/OstrevanForward.h>
#include <base/OstrevanHandle.h>
#include <core/OstrevanAllocator.h>
#include <core/OstrevanArray.h>
#include <core/OstrevanAtomic.h>
#include <core/OstrevanAutoPtr.h>
#include <core/OstrevanBlob.h>
#include <core/OstrevanFile.h>
#include <core/OstrevanFunction.h>
#include <core/OstrevanLog.h>
#include <core/OstrevanMap.h>
#include <core/OstrevanParser.h>
#include <core/OstrevanSet.h>
#include <core/OstrevanStream.h>
#include <core/OstrevanString.h>
#include <core/OstrevanTree.h>
#include <format/OstrevanColor.h>
#include <format/OstrevanFormat.h>
#include <format/OstrevanImage.h>
#include <format/OstrevanSize.h>
#include <format/OstrevanSlice.h>
#include <math/OstrevanFloat.h>
#include <platform/OstrevanBuffer.h>
#include <platform/OstrevanCompute.h>
#include <platform/OstrevanContext.h>
#include <platform/OstrevanDevice.h>
#include <platform/OstrevanKernel.h>
#include <platform/OstrevanPlatform.h>
#include <platform/OstrevanShader.h>
#include <platform/OstrevanShaderCompiler.h>
#include <platform/OstrevanSurface.h>
