// Meshes, strands and points from files.
#pragma once

#include "io/LoadedGeometry.h"

#include <string>
#include <string_view>

namespace Stratum::io {

/// Reads a Wavefront OBJ or a PLY file; what it begins with tells which. "-" is the standard input.
/// Throws std::runtime_error with one line that names the file and the line or element at fault,
/// Cancelled when the job is cancelled meanwhile.
LoadedGeometry readGeometry(const std::string& path);

/// Reads a Wavefront OBJ; `bytes` are the whole file. Faces keep all their corners. Without faces
/// `l` elements are strands, each with points of its own; with faces they are left out, with a
/// warning. Without either, the vertices are points. A vertex has its position alone; groups,
/// normals, texture coordinates and materials are passed over.
LoadedGeometry readObj(std::string_view bytes, const std::string& source);

/// Whether this build has readObj(); without, it throws.
bool canReadObj();

/// Reads a PLY file: the element "vertex" with x, y and z, and "face" with a list "vertex_indices"
/// or "vertex_index". Every other number of a vertex or face becomes a property of the points or
/// faces under its name, as float where that holds all values of its type and double otherwise.
/// Where a vertex has a number of the same name, that of the faces is called "face:NAME".
LoadedGeometry readPlyGeometry(std::string_view bytes, const std::string& source);

} // namespace Stratum::io
