#include <gtest/gtest.h>

#include "utf8.h"

int main(int argc, char **argv)
{
    dkomsql::use_utf8_locale();
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
