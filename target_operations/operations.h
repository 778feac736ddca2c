#pragma once

/// Everything of the property tree in one include: the interfaces, the node, the typed nodes, the
/// casts and the owning handle. docs/inside/property-tree.md is the way in. One thread at a time
/// uses a tree.
#include "target_operations/ReferenceCount.h"
#include "target_operations/boolean_property.h"
#include "target_operations/host_interfaces.h"
#include "target_operations/integer_property.h"
#include "target_operations/location_property.h"
#include "target_operations/property.h"
#include "target_operations/property_casts.h"
#include "target_operations/property_interfaces.h"
#include "target_operations/property_values.h"
#include "target_operations/reference_counting.h"
#include "target_operations/reference_handle.h"
#include "target_operations/string_property.h"
