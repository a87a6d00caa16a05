#pragma once

#include "Ambrel/BDataManagerProxy.h"

namespace Ambrel::Tool {

/// The plug-in that serves shapefiles, loaded at the first call and kept until the process ends:
/// from the file or folder that the environment variable AMBREL_PLUGIN_PATH names, else from
/// the folder "ambrel" beside the host library. Throws a BException that tells what was
/// tried.
BDataManagerProxy& ShapefilePlugIn();

} // namespace Ambrel::Tool
