// All public headers.

#pragma once

#include <OstrevanApp.h>
