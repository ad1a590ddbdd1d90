/* Compiled as strict C99: the public header must be plain C and usable on its own. */
#include <kelsr.h>
#include <stdio.h>
#include <string.h>

static int failures = 0;
#define EXPECT(cond)                                                   \
  do {                                                                 \
    if (!(cond)) {                                                     \
      fprintf(stderr, "%s:%d: failed: %s\n", __FILE__, __LINE__, #cond); \
      ++failures;                                                      \
    }                                                                  \
  } while (0)

int main(void) {
  const KelsLibVersion* v = kelsrGetLibVersion();
  EXPECT(v != NULL);
  EXPECT(v == kelsrGetLibVersion());
  EXPECT(v->major == 4 && v->minor == 0 && v->majorBuild == 19 && v->build == 1);
  EXPECT(memcmp(v->targetCpu, "t2\0\0", 4) == 0);
  EXPECT(strcmp(v->name, "kelsrt2.dll") == 0);
  EXPECT(strcmp(v->version, "v4.0") == 0);
  EXPECT(strcmp(v->buildDate, "Oct 17 2003") == 0);
  EXPECT(sizeof(Kels8u) == 1 && sizeof(Kels16s) == 2 && sizeof(Kels32s) == 4);
  EXPECT(sizeof(Kels32f) == 4 && sizeof(Kels64f) == 8 && sizeof(Kels32sc) == 8);
  EXPECT(sizeof(KelsStatus) == 4);
  EXPECT(kelErrStep == -37 && kelErrBadObject == -9999 && kelWarnZeroDivisor == 16);
  if (failures == 0) printf("1 passed, 0 failed\n");
  return failures != 0;
}
