#include "util/UserId.h"

#include <objbase.h>

#include <cstdio>

#include "util/Windows.h"

namespace vantra::util {

std::string NewUserId() {
  GUID id;
  if (FAILED(CoCreateGuid(&id))) return {};
  char text[37];
  std::snprintf(text, sizeof text, "%08x-%04x-%04x-%02x%02x-%02x%02x%02x%02x%02x%02x",
                static_cast<unsigned>(id.Data1), id.Data2, id.Data3, id.Data4[0], id.Data4[1], id.Data4[2],
                id.Data4[3], id.Data4[4], id.Data4[5], id.Data4[6], id.Data4[7]);
  return text;
}

}  // namespace vantra::util
