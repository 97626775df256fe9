// No misuse of a recorder reaches the driver: the same table that the stub backend is tested with.

#include "GpuTest.h"
#include "RecorderMisuse.h"

using namespace Kolm;

class MisuseVKTest : public GpuTest {};

TEST_F(MisuseVKTest, stops_before_the_driver) {
    RecorderMisuse misuse(*device);
    EXPECT_GE(misuse.rows.size(), 100u);
    misuse.check();
}
