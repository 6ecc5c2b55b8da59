// Preloaded into Wine and its server: sends without Nagle's delay, as Windows' own HTTP client does. Wine
// hands a request's head and body over apart, and each would wait some 40 ms for the other side's
// acknowledgement.
#define _GNU_SOURCE
#include <dlfcn.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

int socket(int domain, int type, int protocol) {
  int (*const next)(int, int, int) = (int (*)(int, int, int))dlsym(RTLD_NEXT, "socket");
  const int made = next(domain, type, protocol);
  const int on = 1;
  if (domain == AF_INET || domain == AF_INET6) setsockopt(made, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
  return made;
}
