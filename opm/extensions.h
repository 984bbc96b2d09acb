// The Properties-palette services attached to the database class at load time.
#pragma once

namespace nk {

// Creates and attaches the palette services once; does nothing when they exist.
void initOpmPropertyExtension();
bool opmPropertyExtensionAttached();

}  // namespace nk

// Detaches and destroys the palette services; safe to call again.
extern "C" void UninitOPMPropertyExtension();
