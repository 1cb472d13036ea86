#pragma once
// Umbrella header: everything an application needs.
#include "qelon/platform/qelcomponent.h"
#include "qelon/platform/qelerror.h"
#include "qelon/platform/qelproduct.h"
#include "qelon/platform/qelset.h"
#include "qelon/platform/qelinput.h"
#include "qelon/platform/qelpixelformat.h"
#include "qelon/platform/qelbitmap.h"
#include "qelon/platform/qelwindowsystem.h"
#include "qelon/math/qelmath.h"
#include "qelon/math/qelclass.h"
