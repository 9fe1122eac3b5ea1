#include "cli/usage.h"

#include <gtest/gtest.h>

#include "tests/support/fixture.h"
#include "tests/support/transcript.h"

namespace qorx::test {
namespace {

using Usage = LibraryTest;

// Trailing blanks and tabs are part of it; of the service options -F, -vm and -ML it says nothing.
TEST_F(Usage, IsTheTextOfTheTranscriptWhateverTheMessageLevel) {
  const std::string text = Appliance("edge").expected("error-no-operation").output;
  EXPECT_EQ(printed_by(qorx_print_usage), text);
  ASSERT_EQ(qorx_set_message_level(0), 0);
  EXPECT_EQ(printed_by(qorx_print_usage), text);
}

}  // namespace
}  // namespace qorx::test
