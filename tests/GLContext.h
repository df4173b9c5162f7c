// GLContext.h - a real offscreen OpenGL context for the drawing tests: EGL on
// Mesa's software renderer, surfaceless platform, a small pbuffer and a
// compatibility context (a core profile would draw nothing).
#ifndef IMAGELIB_TESTS_GLCONTEXT_H
#define IMAGELIB_TESTS_GLCONTEXT_H

#include <EGL/egl.h>
#include <EGL/eglext.h>
#include <GL/gl.h>

#include <cstddef>
#include <vector>

class OffscreenGL {
public:
    OffscreenGL(int width, int height) : m_width(width), m_height(height)
    {
        auto getPlatformDisplay =
            reinterpret_cast<PFNEGLGETPLATFORMDISPLAYEXTPROC>(eglGetProcAddress("eglGetPlatformDisplayEXT"));
        if (!getPlatformDisplay) return;
        m_display = getPlatformDisplay(EGL_PLATFORM_SURFACELESS_MESA, EGL_DEFAULT_DISPLAY, nullptr);
        if (m_display == EGL_NO_DISPLAY || !eglInitialize(m_display, nullptr, nullptr)) return;
        const EGLint configAttributes[] = {EGL_SURFACE_TYPE, EGL_PBUFFER_BIT, EGL_RENDERABLE_TYPE, EGL_OPENGL_BIT,
                                           EGL_RED_SIZE, 8, EGL_GREEN_SIZE, 8, EGL_BLUE_SIZE, 8, EGL_ALPHA_SIZE, 8,
                                           EGL_NONE};
        EGLConfig config;
        EGLint count = 0;
        if (!eglChooseConfig(m_display, configAttributes, &config, 1, &count) || count < 1) return;
        if (!eglBindAPI(EGL_OPENGL_API)) return;
        const EGLint surfaceAttributes[] = {EGL_WIDTH, width, EGL_HEIGHT, height, EGL_NONE};
        m_surface = eglCreatePbufferSurface(m_display, config, surfaceAttributes);
        m_context = eglCreateContext(m_display, config, EGL_NO_CONTEXT, nullptr);
        if (m_surface == EGL_NO_SURFACE || m_context == EGL_NO_CONTEXT) return;
        m_ready = eglMakeCurrent(m_display, m_surface, m_surface, m_context) == EGL_TRUE;
        if (!m_ready) return;
        glViewport(0, 0, width, height);
        glMatrixMode(GL_PROJECTION);
        glLoadIdentity();
        glOrtho(0, width, 0, height, -1, 1);
        glMatrixMode(GL_MODELVIEW);
        glLoadIdentity();
        glDisable(GL_DITHER);
        clear();
    }
    // The display is deliberately not terminated: the driver would leak
    // inside itself.
    ~OffscreenGL()
    {
        if (m_ready) eglMakeCurrent(m_display, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
        if (m_context != EGL_NO_CONTEXT) eglDestroyContext(m_display, m_context);
        if (m_surface != EGL_NO_SURFACE) eglDestroySurface(m_display, m_surface);
    }
    OffscreenGL(const OffscreenGL&) = delete;
    OffscreenGL& operator=(const OffscreenGL&) = delete;

    bool ready() const { return m_ready; }
    void clear()
    {
        glClearColor(0.0f, 0.0f, 0.0f, 0.0f);
        glClear(GL_COLOR_BUFFER_BIT);
    }
    // RGBA bytes of the whole surface, bottom row first.
    std::vector<unsigned char> read() const
    {
        std::vector<unsigned char> pixels(static_cast<size_t>(m_width) * m_height * 4);
        glPixelStorei(GL_PACK_ALIGNMENT, 1);
        glReadPixels(0, 0, m_width, m_height, GL_RGBA, GL_UNSIGNED_BYTE, pixels.data());
        return pixels;
    }
    const unsigned char* at(const std::vector<unsigned char>& pixels, int x, int y) const
    {
        return &pixels[(static_cast<size_t>(y) * m_width + x) * 4];
    }

private:
    int m_width, m_height;
    EGLDisplay m_display = EGL_NO_DISPLAY;
    EGLSurface m_surface = EGL_NO_SURFACE;
    EGLContext m_context = EGL_NO_CONTEXT;
    bool m_ready = false;
};

#endif
