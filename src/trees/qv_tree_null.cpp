// The sentinel has a source of its own because of where it lies at run time. An executable that is
// not position-independent holds a copy of it, and the dynamic linker makes that copy the only one,
// for the caller and for us. That holds for code that takes its address from the global offset
// table, as all code does that sees no more than the declaration. A compiler that saw the
// definition might, under -fno-semantic-interposition, address the library's own instance, and a
// walk would run past the end of its tree.

#include <qvds/qv_tree.h>

qv_tree qv_tree_null;
