// foreign_before.cpp - ours after those of SDL2, Xlib and jpeglib.
#include "foreign.inc"

#include <kxcoreemb/kxcoreemb.h>
