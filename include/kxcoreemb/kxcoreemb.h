// kxcoreemb.h - all of the library.
#pragma once

#include <kxcoreemb/audio.h>
#include <kxcoreemb/audio_producer.h>
#include <kxcoreemb/base.h>
#include <kxcoreemb/cfl.h>
#include <kxcoreemb/cfl_filter.h>
#include <kxcoreemb/cfl_maker.h>
#include <kxcoreemb/core.h>
#include <kxcoreemb/date_time.h>
#include <kxcoreemb/file.h>
#include <kxcoreemb/fixed.h>
#include <kxcoreemb/fixed_math.h>
#include <kxcoreemb/gl.h>
#include <kxcoreemb/gl_fillers.h>
#include <kxcoreemb/gl_texture.h>
#include <kxcoreemb/gl_vertex_buffer.h>
#include <kxcoreemb/host.h>
#include <kxcoreemb/image_loader.h>
#include <kxcoreemb/pixel_blender.h>
#include <kxcoreemb/pixel_converter.h>
#include <kxcoreemb/resource_manager.h>
#include <kxcoreemb/string_toolkit.h>
#include <kxcoreemb/surface.h>
#include <kxcoreemb/thread.h>
