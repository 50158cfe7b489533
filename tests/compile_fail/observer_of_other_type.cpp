#include "nyx/nyx_observer.h"

#ifdef NYX_MUST_NOT_COMPILE
NYX_OBSERVER<NYX_INST_HEADER> observer;
#else
NYX_OBSERVER<NYX_INST_PORT> observer;
#endif
