// The whole exported interface of libQdxSDKWrapper.
#ifndef QDX_DESKTOP_SDK_H
#define QDX_DESKTOP_SDK_H

#include "Facet.h"
#include "FacetCore.h"
#include "JsonKeyPath.h"
#include "JsonValue.h"
#include "QdxDialogs.h"
#include "QdxEvents.h"
#include "QdxExport.h"
#include "QdxGlint.h"
#include "QdxInternalMessages.h"
#include "QdxLifecycle.h"
#include "QdxLock.h"
#include "QdxResult.h"
#include "QdxSession.h"
#include "QdxString.h"

#endif
