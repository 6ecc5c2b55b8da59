// WinHTTP, the platform's HTTP client. Loaded rather than imported: the loader would look for an import
// beside the agent first.
#pragma once

// winhttp.h needs the headers that SystemModule.h includes.
// clang-format off
#include "util/SystemModule.h"
#include <winhttp.h>
// clang-format on

namespace vantra::agent {

// WinHTTP's functions, without the WinHttp of their names; null when the platform lacks one.
struct WinHttp {
  const util::SystemModule module{L"winhttp.dll"};

  const decltype(&WinHttpCloseHandle) CloseHandle =
      module.Find<decltype(&WinHttpCloseHandle)>("WinHttpCloseHandle");
  const decltype(&WinHttpConnect) Connect = module.Find<decltype(&WinHttpConnect)>("WinHttpConnect");
  const decltype(&WinHttpGetIEProxyConfigForCurrentUser) GetIEProxyConfigForCurrentUser =
      module.Find<decltype(&WinHttpGetIEProxyConfigForCurrentUser)>("WinHttpGetIEProxyConfigForCurrentUser");
  const decltype(&WinHttpGetProxyForUrl) GetProxyForUrl =
      module.Find<decltype(&WinHttpGetProxyForUrl)>("WinHttpGetProxyForUrl");
  const decltype(&WinHttpOpen) Open = module.Find<decltype(&WinHttpOpen)>("WinHttpOpen");
  const decltype(&WinHttpOpenRequest) OpenRequest =
      module.Find<decltype(&WinHttpOpenRequest)>("WinHttpOpenRequest");
  const decltype(&WinHttpQueryHeaders) QueryHeaders =
      module.Find<decltype(&WinHttpQueryHeaders)>("WinHttpQueryHeaders");
  const decltype(&WinHttpReadData) ReadData = module.Find<decltype(&WinHttpReadData)>("WinHttpReadData");
  const decltype(&WinHttpReceiveResponse) ReceiveResponse =
      module.Find<decltype(&WinHttpReceiveResponse)>("WinHttpReceiveResponse");
  const decltype(&WinHttpSendRequest) SendRequest =
      module.Find<decltype(&WinHttpSendRequest)>("WinHttpSendRequest");
  const decltype(&WinHttpSetOption) SetOption = module.Find<decltype(&WinHttpSetOption)>("WinHttpSetOption");
  const decltype(&WinHttpSetStatusCallback) SetStatusCallback =
      module.Find<decltype(&WinHttpSetStatusCallback)>("WinHttpSetStatusCallback");
  const decltype(&WinHttpSetTimeouts) SetTimeouts =
      module.Find<decltype(&WinHttpSetTimeouts)>("WinHttpSetTimeouts");
};

// Loaded on first use.
[[nodiscard]] inline const WinHttp& Http() {
  static const WinHttp functions;
  return functions;
}

struct InternetPolicy {
  using Type = HINTERNET;
  static Type Invalid() noexcept { return nullptr; }
  static void Close(Type handle) noexcept { Http().CloseHandle(handle); }
};

using UniqueInternet = util::UniqueHandle<InternetPolicy>;

}  // namespace vantra::agent
