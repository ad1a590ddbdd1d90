/* Which build of kelsr is this? The smallest program against the public header. */
#include <kelsr.h>
#include <stdio.h>

int main(void) {
  const KelsLibVersion* v = kelsrGetLibVersion();
  printf("%s %s (%d.%d.%d.%d, target %s, %s)\n", v->name, v->version, v->major, v->minor,
         v->majorBuild, v->build, v->targetCpu, v->buildDate);
  return 0;
}
