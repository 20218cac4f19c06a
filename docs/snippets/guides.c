/* What the guides show in C, compiled: each is one source, from its first piece to the last. */
#include <pthread.h>
#include <qvds/qvds.h>
#include <stdlib.h>

#include "patterns.md/1"
#include "patterns.md/2"
#include "patterns.md/3"
#include "patterns.md/4"
#include "patterns.md/5"
#include "patterns.md/6"
#include "patterns.md/7"
#include "patterns.md/8"
#include "patterns.md/9"

#include "trees.md/1"
#include "trees.md/2"
