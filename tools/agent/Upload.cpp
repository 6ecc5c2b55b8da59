#include "agent/Upload.h"

#include <algorithm>
#include <atomic>
#include <exception>
#include <utility>

#include "agent/WinHttp.h"
#include "util/Text.h"

namespace vantra::agent {
namespace {

// WinHTTP's own time-outs apply to each step: a server that sends byte by byte never exceeds them.
constexpr DWORD kDeadlineMilliseconds = 60'000;
constexpr DWORD kStepMilliseconds = 30'000;
// A longer answer is not read to its end, so its connection is closed.
constexpr DWORD kMostAnswerBytes = 64 << 10;

// Missing in the platform header used here.
constexpr DWORD kTls12 = 0x800;
constexpr DWORD kTls13 = 0x2000;

bool SetNumber(HINTERNET handle, DWORD option, DWORD number) noexcept {
  return Http().SetOption(handle, option, &number, sizeof number);
}

// Without a proxy if its name is null.
UniqueInternet OpenSession(const wchar_t* proxy, const wchar_t* bypass) {
  const DWORD access = proxy == nullptr ? WINHTTP_ACCESS_TYPE_NO_PROXY : WINHTTP_ACCESS_TYPE_NAMED_PROXY;
  return UniqueInternet(Http().Open(L"Sendrix2/" VANTRA_VERSION, access, proxy, bypass, 0));
}

// Texts that the platform has allocated; freed on destruction.
struct ProxyTexts {
  WINHTTP_CURRENT_USER_IE_PROXY_CONFIG user{};
  WINHTTP_PROXY_INFO found{};

  ~ProxyTexts() {
    for (wchar_t* text : {user.lpszAutoConfigUrl, user.lpszProxy, user.lpszProxyBypass, found.lpszProxy,
                          found.lpszProxyBypass})
      GlobalFree(text);
  }
};

// Opens a session with the user's proxy: the one that a configuration script or the network gives for the
// url, else the configured one. Uses the given session for the query, and returns it when there is no proxy.
UniqueInternet ByProxy(UniqueInternet session, const std::wstring& url) {
  ProxyTexts texts;
  if (!Http().GetIEProxyConfigForCurrentUser(&texts.user)) return session;
  WINHTTP_AUTOPROXY_OPTIONS options{};
  if (texts.user.lpszAutoConfigUrl != nullptr) {
    options.dwFlags = WINHTTP_AUTOPROXY_CONFIG_URL;
    options.lpszAutoConfigUrl = texts.user.lpszAutoConfigUrl;
  } else if (texts.user.fAutoDetect) {
    options.dwFlags = WINHTTP_AUTOPROXY_AUTO_DETECT;
    options.dwAutoDetectFlags = WINHTTP_AUTO_DETECT_TYPE_DHCP | WINHTTP_AUTO_DETECT_TYPE_DNS_A;
  }
  if (options.dwFlags == 0 || !Http().GetProxyForUrl(session.Get(), url.c_str(), &options, &texts.found))
    texts.found = {WINHTTP_ACCESS_TYPE_NAMED_PROXY, std::exchange(texts.user.lpszProxy, nullptr),
                   std::exchange(texts.user.lpszProxyBypass, nullptr)};
  if (texts.found.lpszProxy == nullptr) return session;
  return OpenSession(texts.found.lpszProxy, texts.found.lpszProxyBypass);
}

void CALLBACK NoteProgress(HINTERNET, DWORD_PTR wasConnected, DWORD status, void*, DWORD) {
  if (status == WINHTTP_CALLBACK_STATUS_SENDING_REQUEST && wasConnected != 0)
    *reinterpret_cast<std::atomic<bool>*>(wasConnected) = true;
}

std::string QueryHeader(HINTERNET request, DWORD header) {
  wchar_t text[256];
  DWORD size = sizeof text;
  if (!Http().QueryHeaders(request, header, WINHTTP_HEADER_NAME_BY_INDEX, text, &size,
                           WINHTTP_NO_HEADER_INDEX))
    return {};
  return util::ToUtf8(std::wstring(text, size / sizeof *text));
}

bool QueryNumber(HINTERNET request, DWORD header, DWORD& number) {
  DWORD size = sizeof number;
  return Http().QueryHeaders(request, header | WINHTTP_QUERY_FLAG_NUMBER, WINHTTP_HEADER_NAME_BY_INDEX,
                             &number, &size, WINHTTP_NO_HEADER_INDEX);
}

// Reads the answer to its end, so that the connection can be reused. Returns 0 or the platform's error; an
// answer that breaks off is an error even if the platform reports none.
DWORD Drain(HINTERNET request) {
  DWORD length = 0;
  if (!QueryNumber(request, WINHTTP_QUERY_CONTENT_LENGTH, length)) length = 0;
  char bytes[4096];
  DWORD total = 0;
  for (DWORD read = 0; total < kMostAnswerBytes; total += read) {
    if (!Http().ReadData(request, bytes, sizeof bytes, &read)) return GetLastError();
    if (read == 0) break;
  }
  return total < std::min(length, kMostAnswerBytes) ? ERROR_HANDLE_EOF : 0;
}

}  // namespace

// Used by one thread at a time. Shared with that thread, which may outlive Upload.
struct Upload::Connection {
  Target target;
  std::wstring headers;
  UniqueInternet session;
  UniqueInternet server;
  // For the current request; the waiting thread may read it at any time.
  std::atomic<bool> wasConnected;

  DWORD Open();
  Reply Put(const std::wstring& path, std::string& body);
  DWORD Exchange(const UniqueInternet& request, std::string& body, Reply& reply);
};

// Returns 0 or the platform's error.
DWORD Upload::Connection::Open() {
  if (server) return 0;
  if (Http().Open == nullptr) return ERROR_PROC_NOT_FOUND;
  const bool isSecure = target.scheme == Scheme::kHttps;
  const std::wstring host = util::FromUtf8(target.host);
  session = OpenSession(nullptr, nullptr);
  if (session && isSecure)
    session = ByProxy(std::move(session), L"https://" + host + L":" + std::to_wstring(target.port) + L"/");
  if (!session) return GetLastError();
  if (isSecure && !SetNumber(session.Get(), WINHTTP_OPTION_SECURE_PROTOCOLS, kTls12 | kTls13) &&
      !SetNumber(session.Get(), WINHTTP_OPTION_SECURE_PROTOCOLS, kTls12))
    return GetLastError();
  constexpr int kStep = kStepMilliseconds;
  Http().SetTimeouts(session.Get(), kStep, kStep, kStep, kStep);
  SetNumber(session.Get(), WINHTTP_OPTION_RECEIVE_RESPONSE_TIMEOUT, kStepMilliseconds);
  Http().SetStatusCallback(session.Get(), NoteProgress, WINHTTP_CALLBACK_FLAG_SEND_REQUEST, 0);
  server.Reset(Http().Connect(session.Get(), host.c_str(), target.port, 0));
  return server ? 0 : GetLastError();
}

Reply Upload::Connection::Put(const std::wstring& path, std::string& body) {
  Reply reply;
  wasConnected = false;
  if (reply.error = Open(); reply.error != 0) return reply;
  const DWORD flags =
      WINHTTP_FLAG_ESCAPE_DISABLE | (target.scheme == Scheme::kHttps ? WINHTTP_FLAG_SECURE : 0u);
  const UniqueInternet request(Http().OpenRequest(server.Get(), L"PUT", path.c_str(), nullptr,
                                                  WINHTTP_NO_REFERER, WINHTTP_DEFAULT_ACCEPT_TYPES, flags));
  reply.error = request ? Exchange(request, body, reply) : GetLastError();
  reply.wasConnected = wasConnected;
  return reply;
}

// Returns 0 or the platform's error.
DWORD Upload::Connection::Exchange(const UniqueInternet& request, std::string& body, Reply& reply) {
  if (!SetNumber(request.Get(), WINHTTP_OPTION_DISABLE_FEATURE,
                 WINHTTP_DISABLE_COOKIES | WINHTTP_DISABLE_REDIRECTS | WINHTTP_DISABLE_AUTHENTICATION))
    return GetLastError();
  SetNumber(request.Get(), WINHTTP_OPTION_MAX_RESPONSE_HEADER_SIZE, kMostAnswerBytes);
  SetNumber(request.Get(), WINHTTP_OPTION_MAX_RESPONSE_DRAIN_SIZE, kMostAnswerBytes);
  if (target.scheme == Scheme::kHttps)  // sends no client certificate if the server asks for one
    Http().SetOption(request.Get(), WINHTTP_OPTION_CLIENT_CERT_CONTEXT, WINHTTP_NO_CLIENT_CERT_CONTEXT, 0);
  const auto size = static_cast<DWORD>(body.size());
  if (!Http().SendRequest(request.Get(), headers.c_str(), static_cast<DWORD>(headers.size()), body.data(),
                          size, size, reinterpret_cast<DWORD_PTR>(&wasConnected)) ||
      !Http().ReceiveResponse(request.Get(), nullptr))
    return GetLastError();
  DWORD status = 0;
  if (!QueryNumber(request.Get(), WINHTTP_QUERY_STATUS_CODE, status)) return GetLastError();
  // A status whose answer breaks off does not count.
  if (const DWORD error = Drain(request.Get()); error != 0) return error;
  reply.status = status;
  reply.retryAfter = QueryHeader(request.Get(), WINHTTP_QUERY_RETRY_AFTER);
  return 0;
}

// The data of one upload, shared with its thread, which may outlive the wait.
struct Upload::Call {
  std::shared_ptr<Connection> connection;
  std::wstring path;
  std::string body;
  Reply reply;
};

Upload::Upload(const Target& target, std::string_view authorization)
    : target_(target), connection_(std::make_shared<Connection>()) {
  connection_->target = target;
  connection_->headers = L"Content-Type: application/gzip\r\n";
  if (!authorization.empty())
    connection_->headers.append(L"Authorization: ").append(util::FromUtf8(authorization)).append(L"\r\n");
}

Upload::~Upload() = default;

// Runs on a platform thread: with this C++ runtime, a std::thread can spin for ever when one ends as another
// begins.
DWORD WINAPI Upload::Perform(void* argument) {
  const std::unique_ptr<std::shared_ptr<Call>> call(static_cast<std::shared_ptr<Call>*>(argument));
  try {
    (*call)->reply = (*call)->connection->Put((*call)->path, (*call)->body);
  } catch (const std::exception&) {
    (*call)->reply.error = ERROR_NOT_ENOUGH_MEMORY;
  }
  return 0;
}

Reply Upload::Put(std::string_view documentName, std::string body) {
  std::wstring path = util::FromUtf8(ObjectPath(target_, documentName));
  const auto call = std::make_shared<Call>(Call{connection_, std::move(path), std::move(body), {}});
  auto argument = std::make_unique<std::shared_ptr<Call>>(call);
  const util::UniqueKernelObject thread(CreateThread(nullptr, 0, Perform, argument.get(), 0, nullptr));
  if (!thread) return {.error = GetLastError()};
  static_cast<void>(argument.release());  // now owned by the thread
  if (WaitForSingleObject(thread.Get(), kDeadlineMilliseconds) == WAIT_OBJECT_0) return call->reply;
  isStuck_ = true;
  return {.error = ERROR_WINHTTP_TIMEOUT, .wasConnected = connection_->wasConnected};
}

}  // namespace vantra::agent
