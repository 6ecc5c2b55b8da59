// A host in C: counts the lines, words and bytes of a text file, and records that it did so.
#include <ctype.h>
#include <stdio.h>
#include <string.h>
#include <vantra/vantra.h>

struct Counts {
  unsigned long lines, words, bytes;
};

static bool Count(const char* path, struct Counts* counts) {
  FILE* const file = fopen(path, "rb");
  bool in_word = false;
  if (file == NULL) return false;
  for (int c = getc(file); c != EOF; c = getc(file)) {
    const bool is_space = isspace(c) != 0;
    counts->bytes++;
    if (c == '\n') counts->lines++;
    if (!is_space && !in_word) counts->words++;
    in_word = !is_space;
  }
  fclose(file);
  return true;
}

// Asks a user who has not answered yet. Vantra stores the answer.
static void AskForConsent(void) {
  char answer[16] = "";
  if (UTGetOptIn() != -1) return;
  printf("May Words record how it is used? (y/n) ");
  fflush(stdout);
  if (fgets(answer, sizeof answer, stdin) != NULL) UTSetOptIn(answer[0] == 'y');
}

static void AddNumber(void* session, uint32_t group, const char* key, unsigned long number) {
  char text[24];
  snprintf(text, sizeof text, "%lu", number);
  UTAddToGroup(session, group, key, text);
}

// Only a digest of the path is recorded. No result needs to be checked: without consent there is no session,
// and calls without one do nothing.
static void Record(void* session, const char* path, const struct Counts* counts) {
  const uint32_t length = (uint32_t)strlen(path);
  uint32_t group = 0;
  UTLogEvent(session, "File", "Text", counts ? "Count" : "OpenFailed", path, length);
  if (!counts || UTNewDataGroup(session, "File", "Text", "Counts", &group, path, length) != 0) return;
  AddNumber(session, group, "Lines", counts->lines);
  AddNumber(session, group, "Words", counts->words);
  AddNumber(session, group, "Bytes", counts->bytes);
}

int main(int argc, char** argv) {
  void* session = NULL;
  struct Counts counts = {0, 0, 0};
  bool is_counted;
  if (argc != 2) return fprintf(stderr, "usage: words FILE\n"), 2;
  UTInitialize("AcmeWords", true, NULL);
  AskForConsent();
  UTStartSession(&session, "Acme", "Words", "1.0", "1", "en-US");
  is_counted = Count(argv[1], &counts);
  Record(session, argv[1], is_counted ? &counts : NULL);
  UTCloseSession(&session);
  if (!is_counted) return fprintf(stderr, "words: cannot open %s\n", argv[1]), 1;
  printf("%lu %lu %lu\n", counts.lines, counts.words, counts.bytes);
  return 0;
}
