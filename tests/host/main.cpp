#include "HostTest.h"

// A host whose expectations failed says so by its exit code.
int main(int count, char** arguments) {
  testing::InitGoogleTest(&count, arguments);
  const auto hostCode = vantra::stage::RunAsHost(count, arguments);
  if (!hostCode) return RUN_ALL_TESTS();
  return *hostCode == 0 && testing::UnitTest::GetInstance()->ad_hoc_test_result().Failed() ? 1 : *hostCode;
}
