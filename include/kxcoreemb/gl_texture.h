// gl_texture.h - textures of the 3D renderer: their levels, and the builders that say what is in them.
//
// KxcGLTextureFromFile::create makes one from an image file. For other sources derive a builder and pass it to
// KxcGLTexture::create. Then KxcGL::setTexture.
#pragma once

#include <kxcoreemb/resource_manager.h>
#include <kxcoreemb/surface.h>

class KxcGLComplexSurfaceResource;

/// Creation flags of textures.
enum KXCTEXTURE : KxcINT32
{
    KXCTEXTURE_RESIDENT = 1,      ///< the levels are never evicted
    KXCTEXTURE_POINTMIP = 0x100,  ///< make smaller levels by taking every second texel
    KXCTEXTURE_LINEARMIP = 0x200, ///< make smaller levels by averaging 2 x 2 texels
    KXCTEXTURE_UNSHARED = 0x400,  ///< never share levels with another texture
    KXCTEXTURE_COLORKEY = 0x800,  ///< texels of the key colour are transparent: a 5515 texture, as of images with alpha
    KXCTEXTURE_LAZY = 0x1000,     ///< load at the first use, not at creation
    KXCTEXTURE_PALETTED = 0x2000, ///< keep a paletted image so, unless it has alpha or a colour key
};

/// Says what is in the levels of a texture. Level 0 is the largest.
///
/// Ownership  the texture's that was created with it.
/// Failure    fillSurface() answers 0: the texture stays invisible.
/// Threads    the frame thread.
class KXC_API KxcGLTextureBuilder
{
public:
    virtual KxcINT32 getSurfaceCount() = 0; ///< how many levels there are, 1 or more
    /// Answers a level's size in texels and its KXCSURFACEFORMAT_.
    virtual void getSurfaceParams(KxcINT32 level, KxcINT32& width, KxcINT32& height, KxcINT32& format) = 0;
    /// Writes the texels of a level, rows without gaps, a palette before them. Called for one level after another;
    /// those before it can be locked through the resource. @return not 0 on success
    virtual KxcINT32 fillSurface(KxcINT32 level, void* texels, KxcGLComplexSurfaceResource* resource) = 0;
    virtual ~KxcGLTextureBuilder();
    /// Whether another builder of this kind makes the same texels.
    virtual KxcINT32 sameClassEquals(KxcGLTextureBuilder* other) = 0;

    /// Whether textures of the two builders may share their levels.
    bool equals(KxcGLTextureBuilder* other);
    KxcINT32 getKind() const { return m_kind; }   ///< the number of the derived class
    KxcINT32 getFlags() const { return m_flags; } ///< KXCTEXTURE_ bits

    KxcGLTextureBuilder(const KxcGLTextureBuilder&) = delete;
    KxcGLTextureBuilder& operator=(const KxcGLTextureBuilder&) = delete;

protected: // for derived classes
    /// What equals() and the texture ask.
    /// @param kind   one number for each derived class; 1 is KxcGLTextureFromFile's @param flags  KXCTEXTURE_ bits
    KxcGLTextureBuilder(KxcINT32 kind, KxcINT32 flags) : m_kind(kind), m_flags(flags) {}

    KxcINT32 m_kind;  ///< of the constructor
    KxcINT32 m_flags; ///< likewise
};

/// The levels of one texture, or of several that share them, in memory that the resource manager may reclaim.
///
/// Ownership  the textures that share it.
/// Threads    the frame thread only.
class KXC_API KxcGLComplexSurfaceResource : public KxcResource
{
public:
    ~KxcGLComplexSurfaceResource() override;
    /// Opens a level until as many unlock() calls; levels are loaded first if need be.
    /// @return null for a level that does not exist or cannot be loaded
    KxcGLSurface* lock(KxcINT32 level);
    KxcINT32 unlock(KxcINT32 level);                     ///< 0 for one that is not locked
    KxcINT32 getSurfaceCount() const { return m_count; } ///< levels
    KxcINT32 getSurfaceFormat() const;                   ///< of level 0

    KxcINT32 callback(void* data) override; ///< has the builder fill all levels

private:
    friend class KxcGLTexture;
    struct Level
    {
        KxcGLSurface* surface; // owned; without pixels while it is not locked
        KxcUINT32 offset;      // in bytes
        KxcINT32 locks;
    };
    static KxcGLComplexSurfaceResource* create(KxcGLTextureBuilder* builder, KxcINT32 flags);
    KxcGLComplexSurfaceResource() = default;
    bool init(KxcGLTextureBuilder* builder, KxcINT32 flags);

    KxcGLTextureBuilder* m_builder = nullptr; // a sharing texture's
    KxcINT32 m_sharers = 1;                   // textures
    KxcINT32 m_count = 0;
    Level* m_levels = nullptr; // owned
    KxcINT32 m_locks = 0;      // of all levels
    char* m_memory = nullptr;  // while there are locks
};

/// A chain of pictures for the renderer, each half as wide and high as the one before.
///
/// Units      texels. The width is a power of two up to 256, the height a power of two, in every level.
/// Formats    KXCSURFACEFORMAT_55X5, _5515 and _PALETTE8 can be drawn; _5515 with KXCGLSHADE_TEXTURE only.
/// Ownership  the game's: it deletes its textures, when no queued triangle uses them any more. A texture deletes its
///            builder.
/// Failure    create() returns null for sizes that cannot be drawn and when memory runs out. A texture whose image
///            cannot be loaded exists; lock() returns null and its triangles are not drawn.
/// Threads    the frame thread only.
class KXC_API KxcGLTexture
{
public:
    /// Makes a texture of what the builder says.
    /// @param builder  the texture's from then on; still the caller's where this returns null
    /// @param flags    KXCTEXTURE_ bits; KXCTEXTURE_UNSHARED, KXCTEXTURE_LAZY and KXCTEXTURE_RESIDENT count
    static KxcGLTexture* create(KxcGLTextureBuilder* builder, KxcINT32 flags);
    virtual ~KxcGLTexture();

    /// Opens a level until unlock(); its texels may be read and written, but are lost when they are evicted.
    /// @return null for a level that does not exist or cannot be loaded
    KxcGLSurface* lock(KxcINT32 level);
    KxcINT32 unlock(KxcINT32 level); ///< 0 for one that is not locked
    void preload();                  ///< loads the levels now

    KxcINT32 getSurfaceCount() const;                             ///< levels
    KxcINT32 getSurfaceFormat() const;                            ///< of level 0
    KxcINT32 getTexelFormat() const { return m_texelFormat; }     ///< of level 0, as the builder said
    KxcINT32 getPrimarySurfaceWidth() const { return m_width; }   ///< of level 0, in texels
    KxcINT32 getPrimarySurfaceHeight() const { return m_height; } ///< likewise
    KxcGLTextureBuilder* getBuilder() const { return m_builder; } ///< stays the texture's
    KxcGLTexture* getNext() const { return m_next; }              ///< the next older texture
    KxcINT32 getGLData() const { return m_glData; }               ///< a word for the device; 0 when the device goes
    void setGLData(KxcINT32 data) { m_glData = data; }            ///< kept for the device

    /// @{
    /// Writes the level below the source's, half as wide and high, rows without gaps. Nothing where the source has no
    /// pixels or another format. In 5515 a texel is opaque where all four are.
    static void filterMapPointSample55X5(KxcGLSurface* source, void* target);
    static void filterMapLinear55X5(KxcGLSurface* source, void* target);
    static void filterMapPointSample5515(KxcGLSurface* source, void* target);
    static void filterMapLinear5515(KxcGLSurface* source, void* target);
    static void filterMapPointSamplePal55X5(KxcGLSurface* source, void* target);
    /// @}

    KxcGLTexture(const KxcGLTexture&) = delete;
    KxcGLTexture& operator=(const KxcGLTexture&) = delete;

private:
    KxcGLTexture() = default;
    bool init(KxcGLTextureBuilder* builder, KxcINT32 flags);

    KxcGLTextureBuilder* m_builder = nullptr;          // owned
    KxcGLComplexSurfaceResource* m_resource = nullptr; // owned together with its other sharers
    KxcGLTexture* m_next = nullptr;
    KxcINT32 m_width = 0, m_height = 0, m_texelFormat = 0, m_glData = 0;
};

/// Builds a texture from an image file: level 0 is the image, the smaller levels are made from it.
class KXC_API KxcGLTextureFromFile : public KxcGLTextureBuilder
{
public:
    /// Textures of one file name (whatever its case) and the same flags share their levels, so the colour key of the
    /// first one holds for all.
    /// @param name      as for KxcFile::open @param flags  KXCTEXTURE_ bits @param colorKey  0x00RRGGBB
    /// @return null where there is no such image, its sides cannot be drawn, or memory runs out
    static KxcGLTexture* create(const char* name, KxcINT32 flags, KxcUINT32 colorKey);
    ~KxcGLTextureFromFile() override;
    /// Fills in size, format and the number of levels from the file, and corrects the flags.
    static void loadTextureInfo(KxcGLTextureFromFile* builder);

    KxcINT32 getSurfaceCount() override;
    void getSurfaceParams(KxcINT32 level, KxcINT32& width, KxcINT32& height, KxcINT32& format) override;
    KxcINT32 fillSurface(KxcINT32 level, void* texels, KxcGLComplexSurfaceResource* resource) override;
    KxcINT32 sameClassEquals(KxcGLTextureBuilder* other) override;

private:
    KxcGLTextureFromFile(KxcINT32 flags, KxcUINT32 colorKey);

    char* m_name = nullptr; // owned
    KxcINT32 m_width = 0, m_height = 0, m_levels = 0, m_format = 0;
    KxcUINT32 m_colorKey;
};
