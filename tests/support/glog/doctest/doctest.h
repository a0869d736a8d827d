#pragma once

// folly's headers bring glog, whose CHECK macros have the names of doctest's. This header lies in front of doctest's own where
// both are used: it reads glog first, so that no later include brings its macros back, and lets doctest define the names.
#include <glog/logging.h>

#undef CHECK
#undef CHECK_EQ
#undef CHECK_NE
#undef CHECK_LE
#undef CHECK_LT
#undef CHECK_GE
#undef CHECK_GT

#include_next <doctest/doctest.h>
