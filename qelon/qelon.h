#pragma once
// Umbrella header: everything an application needs.
#include "qelon/platform/qelcomponent.h"
#include "qelon/platform/qelerror.h"
#include "qelon/platform/qelproduct.h"
#include "qelon/platform/qelset.h"
#include "qelon/math/qelmath.h"
#include "qelon/math/qelclass.h"
#include "qelon/scene/qelcustomview.h"
#include "qelon/scene/qelcomp.h"
#include "qelon/scene/qelobj.h"
#include "qelon/view/qelcam.h"
