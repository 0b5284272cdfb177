// The command's operator new and delete, for every library it loads: mimalloc's, which allocate
// and release the millions of small objects a large document reads into faster than the C
// library's malloc. The libraries themselves leave the choice of allocator to the program.
#include <mimalloc-new-delete.h>
