#include "opm/extensions.h"

namespace nk {
namespace {

// Stands for the property-extension factory: the services exist exactly while it is set.
bool gAttached = false;

}  // namespace

void initOpmPropertyExtension()
{
    if (gAttached) return;
    gAttached = true;
}

bool opmPropertyExtensionAttached() { return gAttached; }

}  // namespace nk

extern "C" void UninitOPMPropertyExtension()
{
    if (!nk::gAttached) return;
    nk::gAttached = false;
}
