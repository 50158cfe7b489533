#ifndef NYX_H
#define NYX_H

/// \file
/// Everything: includes every public header of the library.

#include "nyx/nyx_api.h"
#include "nyx/nyx_db.h"
#include "nyx/nyx_defs.h"
#include "nyx/nyx_direction.h"
#include "nyx/nyx_fwd.h"
#include "nyx/nyx_geometry.h"
#include "nyx/nyx_name_style.h"
#include "nyx/nyx_observer.h"
#include "nyx/nyx_stats.h"
#include "nyx_barebones/nyx_barebones_notifier.h"
#include "nyx_report/nyx_report.h"
#include "nyx_report/nyx_report_exception.h"

#endif
