#include <stdio.h>
#include <vantra/vantra.h>

int main(void) {
  void* session = NULL;
  uint32_t drawing = 0;
  UTInitialize("AcmeDraw", true, NULL);
  if (UTGetOptIn() == -1 && puts("May Draw record how it is used? y/n") >= 0) UTSetOptIn(getchar() == 'y');
  UTStartSession(&session, "Acme", "Draw", "3.1", "412", "en-US");
  UTAddToSession(session, "Theme", "dark");
  UTLogEvent(session, "File", "Menu", "Save", "C:\\plans\\house.dwg", 18);
  UTNewDataGroup(session, "Drawing", "Size", "Shapes", &drawing, NULL, 0);
  UTAddToGroup(session, drawing, "Circles", "17");
  UTCloseSession(&session);
}
