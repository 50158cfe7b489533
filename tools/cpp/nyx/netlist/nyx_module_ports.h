#ifndef NYX_MODULE_PORTS_H
#define NYX_MODULE_PORTS_H

class NYX_MODULE;

/// Throws NYX_RUNTIME_ERROR in the name of `function` if an instance of `module` lies in a database that may not be
/// written, and so could not follow a change of the module's ports.
void nyx_check_ports_are_writable(NYX_MODULE *module, const char *function);

#endif
