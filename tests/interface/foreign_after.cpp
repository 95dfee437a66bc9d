// foreign_after.cpp - ours before those of SDL2, Xlib and jpeglib.
#include <kxcoreemb/kxcoreemb.h>

#include "foreign.inc"
