#ifdef NYX_MUST_NOT_COMPILE
#error something else
#endif
