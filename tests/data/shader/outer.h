#include "inner.h"
int outer;
