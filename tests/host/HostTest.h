// Tests that act through hosts, each case on a stage of its own. Whatever documents a case leaves must be as
// docs/document-format.md has them.
#pragma once

#include <gtest/gtest.h>

#include "stage/Document.h"
#include "stage/Host.h"

namespace vantra::test {

using namespace vantra::stage;  // NOLINT: the tests' own language

// Runs a host to its end, which must be a good one: 0, without a failed expectation.
template <class Body>
void RunHost(Body body) {
  EXPECT_EQ(StartHost(body).Wait(), 0u);
}

class HostTest : public testing::Test {
 protected:
  HostTest() { EnterNewCase(); }
  ~HostTest() override {
    EXPECT_EQ(Findings(), Lines());
    EXPECT_TRUE(LeaveCase()) << "the case's folder is still in use";
  }
};

}  // namespace vantra::test
