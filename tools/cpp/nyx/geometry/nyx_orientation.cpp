#include "nyx/nyx_geometry.h"

#include "nyx_report/nyx_report.h"

const char *const NYX_ORIENTATION::s_names[COUNT] = {"N", "S", "W", "E", "FN", "FS", "FW", "FE"};

// Names of the enumerators are shadowed by the constants of the class here, which convert.
// clang-format off
const NYX_ORIENTATION::VALUE NYX_ORIENTATION::s_concatenation_matrix[COUNT][COUNT] = {
    //       N   S   W   E   FN  FS  FW  FE
    /* N  */ {N,  S,  W,  E,  FN, FS, FW, FE},
    /* S  */ {S,  N,  E,  W,  FS, FN, FE, FW},
    /* W  */ {W,  E,  S,  N,  FW, FE, FS, FN},
    /* E  */ {E,  W,  N,  S,  FE, FW, FN, FS},
    /* FN */ {FN, FS, FE, FW, N,  S,  E,  W},
    /* FS */ {FS, FN, FW, FE, S,  N,  W,  E},
    /* FW */ {FW, FE, FN, FS, W,  E,  N,  S},
    /* FE */ {FE, FW, FS, FN, E,  W,  S,  N},
};
// clang-format on

NYX_ORIENTATION NYX_ORIENTATION::concat(const NYX_ORIENTATION &next) const {
    NYX_CHECK_MSG(is_valid() && next.is_valid(), "Unknown orientation");
    return s_concatenation_matrix[static_cast<unsigned char>(m_value)][static_cast<unsigned char>(next.m_value)];
}

const char *NYX_ORIENTATION::get_name() const noexcept {
    return is_valid() ? s_names[static_cast<unsigned char>(m_value)] : "?";
}
