#ifndef NYX_H
#define NYX_H

/// \file
/// Everything: includes every public header of the library.

#include "nyx/nyx_api.h"
#include "nyx/nyx_app_data.h"
#include "nyx/nyx_array_iter.h"
#include "nyx/nyx_bus.h"
#include "nyx/nyx_bus_dimension.h"
#include "nyx/nyx_byte_trait.h"
#include "nyx/nyx_constraint.h"
#include "nyx/nyx_db.h"
#include "nyx/nyx_db_table_iters.h"
#include "nyx/nyx_defs.h"
#include "nyx/nyx_design_entry.h"
#include "nyx/nyx_direction.h"
#include "nyx/nyx_fwd.h"
#include "nyx/nyx_geometry.h"
#include "nyx/nyx_hierarchy.h"
#include "nyx/nyx_inst_header.h"
#include "nyx/nyx_inst_port.h"
#include "nyx/nyx_instance.h"
#include "nyx/nyx_interface.h"
#include "nyx/nyx_interface_instance.h"
#include "nyx/nyx_iters.h"
#include "nyx/nyx_module.h"
#include "nyx/nyx_name_style.h"
#include "nyx/nyx_net.h"
#include "nyx/nyx_object.h"
#include "nyx/nyx_observer.h"
#include "nyx/nyx_param_values.h"
#include "nyx/nyx_port.h"
#include "nyx/nyx_property.h"
#include "nyx/nyx_relative_object.h"
#include "nyx/nyx_stats.h"
#include "nyx/nyx_trait_visitors.h"
#include "nyx/nyx_traits.h"
#include "nyx_barebones/nyx_barebones_notifier.h"
#include "nyx_report/nyx_report.h"
#include "nyx_report/nyx_report_exception.h"

#endif
