// The members every entity shares, done once as exported functions that other modules call
// too: each takes the entity's id, or a wrapper's reference (which also serves entities not in
// a database yet). Points arrive as VARIANTs of coordinates; new objects go back as wrappers
// of the caller's application. They are declared, with what each does, in
// core/entity.members; the prototypes are generated from there.
#pragma once

#include "exports_gen.h"
