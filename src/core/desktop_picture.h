// desktop_picture.h - the picture that the desktop window shows: the game's screen inside a skin or a grey border.
#pragma once

#include <kxcoreemb/base.h>

/// The window's pixels, R5 G6 B5, and where the game's screen lies in them.
///
/// Order of calls: layOut, create, then any number of showFrame; destroy.
/// Failure  without memory pixels() stays null and showFrame does nothing.
class KxcDesktopPicture
{
public:
    /// Settles the sizes. The skin "kestrix_skin.pcx", looked for in the application's folder as the game's own files
    /// are, is used when it leaves a border of 20 pixels all around.
    void layOut(INT32 screenWidth, INT32 screenHeight);
    void create(); ///< makes the pixels and fills them with the skin, else with a texture made of random numbers
    void destroy();

    /// Copies the game's screen, which has no gaps between its rows, into its place.
    void showFrame(const UINT16* frame);

    const UINT16* pixels() const { return m_pixels; }
    INT32 width() const { return m_width; }
    INT32 height() const { return m_height; }
    /// From a position in the window to one on the screen. @return false outside the screen
    bool toScreen(INT32& x, INT32& y) const;

private:
    bool loadSkin();
    void makeTexture();

    UINT16* m_pixels = nullptr; // m_width x m_height, top row first
    INT32 m_width = 0, m_height = 0;
    INT32 m_screenX = 0, m_screenY = 0, m_screenWidth = 0, m_screenHeight = 0;
};

/// Writes a picture in R5 G6 B5, top row first, as a 24-bit BMP under the first free name: ss0001.bmp, ss0002.bmp, ...
/// in the current directory. The numbers go on through the run. Failures are not reported.
void kxcDesktopSaveScreenshot(const UINT16* pixels, INT32 width, INT32 height);
