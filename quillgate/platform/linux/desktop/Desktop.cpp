#include "quillgate/platform/linux/desktop/Desktop.h"

#include <gtk/gtk.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <limits>

#include "quillgate/platform/Platform.h"
#include "quillgate/platform/linux/CairoCanvas.h"
#include "quillgate/platform/linux/FontconfigUse.h"
#include "quillgate/platform/linux/desktop/DesktopWebView.h"
#include "quillgate/ui/Application.h"
#include "quillgate/ui/Control.h"
#include "quillgate/ui/Renderer.h"
#include "quillgate/ui/TextField.h"
#include "quillgate/ui/Window.h"

namespace quillgate::desktop {

namespace {

bool g_installed = false;

// Shown with its ancestors, and not faded out: where a reader could see it.
bool showsInTree(const ui::View& view) {
    for (const ui::View* v = &view; v; v = v->superview().get()) {
        if (v->isHidden() || v->alpha() < 0.01) {
            return false;
        }
    }
    return true;
}

int pixels(double points) {
    return static_cast<int>(std::lround(std::clamp(points, 0.0, 1.0e6)));
}

}  // namespace

// ---- Pictures -----------------------------------------------------------------------------------

platform::Rgba WindowPicture::pixel(double x, double y) const {
    const auto px = static_cast<long>(std::floor(x * scale));
    const auto py = static_cast<long>(std::floor(y * scale));
    if (px < 0 || py < 0 || px >= width || py >= height) {
        return platform::Rgba{0, 0, 0, 0};
    }
    const std::size_t at = (static_cast<std::size_t>(py) * static_cast<std::size_t>(width) +
                            static_cast<std::size_t>(px)) *
                           4;
    return platform::Rgba{rgba[at] / 255.0, rgba[at + 1] / 255.0, rgba[at + 2] / 255.0,
                          rgba[at + 3] / 255.0};
}

bool WindowPicture::writePng(const std::filesystem::path& file) const {
    if (width <= 0 || height <= 0) {
        return false;
    }
    GBytes* bytes = g_bytes_new(rgba.data(), rgba.size());
    GdkTexture* texture = gdk_memory_texture_new(width, height, GDK_MEMORY_R8G8B8A8, bytes,
                                                 static_cast<gsize>(width) * 4);
    g_bytes_unref(bytes);
    const bool written = gdk_texture_save_to_png(texture, file.c_str());
    g_object_unref(texture);
    return written;
}

namespace {

// A texture's pixels, not premultiplied, row after row.
WindowPicture pictureOf(GdkTexture* texture) {
    WindowPicture picture;
    picture.width = gdk_texture_get_width(texture);
    picture.height = gdk_texture_get_height(texture);
    const std::size_t stride = static_cast<std::size_t>(picture.width) * 4;
    std::vector<unsigned char> native(stride * static_cast<std::size_t>(picture.height));
    // Premultiplied, in the byte order of Cairo's 32-bit pixels (B, G, R, A in memory here).
    gdk_texture_download(texture, native.data(), stride);
    picture.rgba.resize(native.size());
    for (std::size_t i = 0; i < native.size(); i += 4) {
        const unsigned a = native[i + 3];
        const auto unpremultiply = [a](unsigned c) {
            return static_cast<unsigned char>(a == 0 ? 0 : std::min(255u, (c * 255 + a / 2) / a));
        };
        picture.rgba[i] = unpremultiply(native[i + 2]);
        picture.rgba[i + 1] = unpremultiply(native[i + 1]);
        picture.rgba[i + 2] = unpremultiply(native[i]);
        picture.rgba[i + 3] = static_cast<unsigned char>(a);
    }
    return picture;
}

}  // namespace

std::optional<WindowPicture> WindowPicture::readPng(const std::filesystem::path& file) {
    GError* error = nullptr;
    GdkTexture* texture = gdk_texture_new_from_filename(file.c_str(), &error);
    if (!texture) {
        g_clear_error(&error);
        return std::nullopt;
    }
    WindowPicture picture = pictureOf(texture);
    g_object_unref(texture);
    return picture;
}

// ---- The backend --------------------------------------------------------------------------------

struct Desktop::Impl : std::enable_shared_from_this<Desktop::Impl> {
    // One toolkit window and the library window it shows.
    struct ShownWindow {
        std::weak_ptr<ui::Window> window;
        GtkWidget* toplevel = nullptr;
        GtkWidget* overlay = nullptr;  // the drawing area, with web views laid over it
        GtkWidget* area = nullptr;
        std::weak_ptr<ui::View> pressed;
        bool closed = false;
        std::weak_ptr<Impl> impl;
    };

    std::shared_ptr<platform::RunLoop> loop;
    std::vector<std::unique_ptr<ShownWindow>> windows;
    std::optional<std::uint64_t> drawnAfter;  // the task count at the last redraw

    ShownWindow* find(const std::shared_ptr<ui::Window>& window) {
        for (auto& shown : windows) {
            if (shown->window.lock() == window) {
                return shown.get();
            }
        }
        return nullptr;
    }

    // Runs `task` on the main queue while this backend is installed.
    void post(std::function<void(Impl&)> task) {
        if (!platform::isInstalled()) {
            return;
        }
        platform::mainQueue().async([weak = weak_from_this(), task = std::move(task)] {
            if (auto self = weak.lock()) {
                task(*self);
            }
        });
    }

    void refresh(bool always) {
        const std::uint64_t count = loop ? loop->completedTaskCount() : 0;
        if (!always && drawnAfter == count) {
            return;
        }
        drawnAfter = count;
        for (auto* view : DesktopWebView::all()) {
            view->syncScriptMessageHandlers();
        }
        for (auto& shown : windows) {
            placeWebViews(*shown);
            gtk_widget_queue_draw(shown->area);
        }
    }

    // The engine's widget of each web view on show in this window goes over its frame.
    static void placeWebViews(ShownWindow& shown) {
        const auto window = shown.window.lock();
        for (auto* view : DesktopWebView::all()) {
            GtkWidget* widget = view->widget();
            GtkWidget* parent = gtk_widget_get_parent(widget);
            const ui::Size size = view->frame().size;
            const bool here = window && view->window() == window && showsInTree(*view) &&
                              size.width >= 1 && size.height >= 1;
            if (!here) {
                if (parent == shown.overlay) {
                    gtk_widget_set_visible(widget, FALSE);
                }
                continue;
            }
            if (parent != shown.overlay) {
                if (parent && GTK_IS_OVERLAY(parent)) {
                    gtk_overlay_remove_overlay(GTK_OVERLAY(parent), widget);
                }
                gtk_widget_set_halign(widget, GTK_ALIGN_START);
                gtk_widget_set_valign(widget, GTK_ALIGN_START);
                gtk_overlay_add_overlay(GTK_OVERLAY(shown.overlay), widget);
            }
            const ui::Point origin = view->convertPoint(ui::Point{0, 0}, nullptr);
            gtk_widget_set_margin_start(widget, pixels(origin.x));
            gtk_widget_set_margin_top(widget, pixels(origin.y));
            gtk_widget_set_size_request(widget, std::max(1, pixels(size.width)),
                                        std::max(1, pixels(size.height)));
            gtk_widget_set_visible(widget, TRUE);
        }
    }

    // Where the main queue waits: in the toolkit's main loop, until `until` or a wake-up.
    void idleWait(std::chrono::steady_clock::time_point until) {
        refresh(false);
        const auto now = std::chrono::steady_clock::now();
        if (until <= now) {
            g_main_context_iteration(nullptr, FALSE);
            return;
        }
        GSource* timeout = nullptr;
        if (until != std::chrono::steady_clock::time_point::max()) {
            const auto ms = std::chrono::ceil<std::chrono::milliseconds>(until - now).count();
            timeout = g_timeout_source_new(
                static_cast<guint>(std::min<long long>(ms, std::numeric_limits<guint>::max())));
            g_source_set_callback(
                timeout, [](gpointer) -> gboolean { return G_SOURCE_REMOVE; }, nullptr, nullptr);
            g_source_attach(timeout, nullptr);
        }
        g_main_context_iteration(nullptr, TRUE);
        if (timeout) {
            g_source_destroy(timeout);
            g_source_unref(timeout);
        }
    }

    // ---- Input, on the main queue

    void press(const std::shared_ptr<ui::Window>& window, ui::Point point) {
        ShownWindow* shown = find(window);
        if (!shown) {
            return;
        }
        auto target = window->hitTest(point);
        shown->pressed = target;
        if (auto* control = dynamic_cast<ui::Control*>(target.get());
            control && control->isEnabled()) {
            control->setHighlighted(true);
        }
    }

    void release(const std::shared_ptr<ui::Window>& window, std::optional<ui::Point> point) {
        ShownWindow* shown = find(window);
        if (!shown) {
            return;
        }
        auto target = shown->pressed.lock();
        shown->pressed.reset();
        if (!target) {
            return;
        }
        if (auto* control = dynamic_cast<ui::Control*>(target.get())) {
            control->setHighlighted(false);
        }
        if (!point || target->window() != window) {
            return;
        }
        if (target->bounds().contains(window->convertPoint(*point, target.get()))) {
            target->tap();
        }
    }

    void resize(const std::shared_ptr<ui::Window>& window, int width, int height) {
        const ui::Rect old = window->bounds();
        const ui::Rect now(0, 0, width, height);
        if (old == now) {
            return;
        }
        window->setFrame(ui::Rect(window->frame().origin, now.size));
        // The root view and presented screens fill the window; they follow it.
        for (const auto& sub : window->subviews()) {
            if (sub->frame() == old) {
                sub->setFrame(now);
            }
        }
        auto screen = ui::Application::shared().mainScreen();
        screen.bounds = now;
        ui::Application::shared().setMainScreen(screen);
    }

    // ---- Toolkit signals

    static void draw(GtkDrawingArea*, cairo_t* cr, int, int, gpointer data) {
        auto* shown = static_cast<ShownWindow*>(data);
        cairo_set_source_rgb(cr, 1, 1, 1);
        cairo_paint(cr);
        const auto window = shown->window.lock();
        if (!window || !platform::isInstalled()) {
            return;
        }
        const double scale = std::max(1, gtk_widget_get_scale_factor(shown->area));
        const auto picture = ui::renderPicture(*window, scale);
        const auto* canvas = dynamic_cast<const platform::CairoCanvas*>(picture.get());
        if (!canvas) {
            return;
        }
        cairo_surface_t* surface = cairo_get_target(canvas->context());
        cairo_surface_flush(surface);
        cairo_save(cr);
        cairo_scale(cr, 1 / scale, 1 / scale);
        cairo_set_source_surface(cr, surface, 0, 0);
        cairo_paint(cr);
        cairo_restore(cr);
    }

    static void pressed(GtkGestureClick* gesture, int, double x, double y, gpointer data) {
        auto* shown = static_cast<ShownWindow*>(data);
        gtk_widget_grab_focus(gtk_event_controller_get_widget(GTK_EVENT_CONTROLLER(gesture)));
        if (auto impl = shown->impl.lock()) {
            impl->post([window = shown->window, point = ui::Point{x, y}](Impl& self) {
                if (auto w = window.lock()) {
                    self.press(w, point);
                }
            });
        }
    }

    static void released(GtkGestureClick*, int, double x, double y, gpointer data) {
        auto* shown = static_cast<ShownWindow*>(data);
        if (auto impl = shown->impl.lock()) {
            impl->post([window = shown->window, point = ui::Point{x, y}](Impl& self) {
                if (auto w = window.lock()) {
                    self.release(w, point);
                }
            });
        }
    }

    static void cancelled(GtkGesture*, GdkEventSequence*, gpointer data) {
        auto* shown = static_cast<ShownWindow*>(data);
        if (auto impl = shown->impl.lock()) {
            impl->post([window = shown->window](Impl& self) {
                if (auto w = window.lock()) {
                    self.release(w, std::nullopt);
                }
            });
        }
    }

    static gboolean keyPressed(GtkEventControllerKey*, guint keyval, guint, GdkModifierType state,
                               gpointer data) {
        auto* shown = static_cast<ShownWindow*>(data);
        if ((state & (GDK_CONTROL_MASK | GDK_ALT_MASK | GDK_SUPER_MASK)) != 0) {
            return FALSE;  // a shortcut, not text
        }
        auto impl = shown->impl.lock();
        return impl && impl->key(keyval);
    }

    static void resized(GtkDrawingArea*, int width, int height, gpointer data) {
        auto* shown = static_cast<ShownWindow*>(data);
        if (auto impl = shown->impl.lock()) {
            impl->post([window = shown->window, width, height](Impl& self) {
                if (auto w = window.lock()) {
                    self.resize(w, width, height);
                }
            });
        }
    }

    static gboolean closeRequested(GtkWindow* toplevel, gpointer data) {
        auto* shown = static_cast<ShownWindow*>(data);
        shown->closed = true;
        // Hidden, not destroyed: the backend still owns it until it is uninstalled.
        gtk_widget_set_visible(GTK_WIDGET(toplevel), FALSE);
        if (platform::isInstalled()) {
            platform::mainQueue().async([] {});  // wakes a host waiting for the close
        }
        return TRUE;
    }

    bool key(guint keyval) {
        const auto field = ui::Application::shared().firstResponder();
        if (!field) {
            return false;
        }
        std::function<void(ui::TextField&)> edit;
        if (keyval == GDK_KEY_BackSpace) {
            edit = [](ui::TextField& f) { f.deleteBackward(); };
        } else if (keyval == GDK_KEY_Return || keyval == GDK_KEY_KP_Enter ||
                   keyval == GDK_KEY_ISO_Enter) {
            edit = [](ui::TextField& f) { f.pressReturn(); };
        } else {
            const gunichar character = gdk_keyval_to_unicode(keyval);
            if (character == 0 || g_unichar_iscntrl(character)) {
                return false;
            }
            char utf8[8] = {};
            const int length = g_unichar_to_utf8(character, utf8);
            edit = [text = std::string(utf8, static_cast<std::size_t>(length))](ui::TextField& f) {
                f.type(text);
            };
        }
        post([weak = std::weak_ptr<ui::TextField>(field), edit](Impl&) {
            if (auto f = weak.lock()) {
                edit(*f);
            }
        });
        return true;
    }

    void close(ShownWindow& shown) {
        g_signal_handlers_disconnect_by_data(shown.toplevel, &shown);
        gtk_drawing_area_set_draw_func(GTK_DRAWING_AREA(shown.area), nullptr, nullptr, nullptr);
        g_signal_handlers_disconnect_by_data(shown.area, &shown);
        gtk_window_destroy(GTK_WINDOW(shown.toplevel));
    }
};

std::optional<std::string> Desktop::unavailableReason() {
    const char* x11 = std::getenv("DISPLAY");
    const char* wayland = std::getenv("WAYLAND_DISPLAY");
    if ((!x11 || !*x11) && (!wayland || !*wayland)) {
        return "no display (neither DISPLAY nor WAYLAND_DISPLAY is set)";
    }
    if (!gtk_init_check()) {
        return std::string("the toolkit cannot open the display ") + (x11 && *x11 ? x11 : wayland);
    }
    // The toolkit is never shut down: it keeps its fonts, and Cairo's caches under them, to
    // the process's end, so they must not be released at exit from under it.
    static const auto* toolkitFonts = new platform::FontconfigUse();
    (void)toolkitFonts;
    return std::nullopt;
}

std::unique_ptr<Desktop> Desktop::install(std::string& error) {
    if (auto reason = unavailableReason()) {
        error = *reason;
        return nullptr;
    }
    if (g_installed) {
        error = "the desktop backend is installed already";
        return nullptr;
    }
    g_installed = true;
    auto impl = std::make_shared<Impl>();
    impl->loop = platform::current().runLoop;
    std::weak_ptr<Impl> weak = impl;
    impl->loop->setWakeUpCallback([] { g_main_context_wakeup(nullptr); });
    impl->loop->setIdleWait([weak](std::chrono::steady_clock::time_point until) {
        if (auto self = weak.lock()) {
            self->idleWait(until);
        }
    });
    ui::WebView::setFactory([] { return std::make_shared<DesktopWebView>(); });
    return std::unique_ptr<Desktop>(new Desktop(std::move(impl)));
}

Desktop::Desktop(std::shared_ptr<Impl> impl) : impl_(std::move(impl)) {}

Desktop::~Desktop() {
    ui::WebView::setFactory({});
    if (impl_->loop) {
        impl_->loop->setIdleWait({});
        impl_->loop->setWakeUpCallback({});
    }
    for (auto& shown : impl_->windows) {
        impl_->close(*shown);
    }
    impl_->windows.clear();
    g_installed = false;
}

void Desktop::show(const std::shared_ptr<ui::Window>& window, const std::string& title) {
    if (!window || impl_->find(window)) {
        return;
    }
    auto shown = std::make_unique<Impl::ShownWindow>();
    Impl::ShownWindow* s = shown.get();
    s->window = window;
    s->impl = impl_;
    s->toplevel = gtk_window_new();
    gtk_window_set_title(GTK_WINDOW(s->toplevel), title.c_str());
    const ui::Size size = window->frame().size;
    gtk_window_set_default_size(GTK_WINDOW(s->toplevel), std::max(1, pixels(size.width)),
                                std::max(1, pixels(size.height)));
    s->overlay = gtk_overlay_new();
    s->area = gtk_drawing_area_new();
    gtk_widget_set_focusable(s->area, TRUE);
    gtk_widget_set_hexpand(s->area, TRUE);
    gtk_widget_set_vexpand(s->area, TRUE);
    gtk_drawing_area_set_draw_func(GTK_DRAWING_AREA(s->area), &Impl::draw, s, nullptr);
    gtk_overlay_set_child(GTK_OVERLAY(s->overlay), s->area);
    gtk_window_set_child(GTK_WINDOW(s->toplevel), s->overlay);

    GtkGesture* click = gtk_gesture_click_new();
    gtk_gesture_single_set_button(GTK_GESTURE_SINGLE(click), GDK_BUTTON_PRIMARY);
    g_signal_connect(click, "pressed", G_CALLBACK(&Impl::pressed), s);
    g_signal_connect(click, "released", G_CALLBACK(&Impl::released), s);
    g_signal_connect(click, "cancel", G_CALLBACK(&Impl::cancelled), s);
    gtk_widget_add_controller(s->area, GTK_EVENT_CONTROLLER(click));
    GtkEventController* keys = gtk_event_controller_key_new();
    g_signal_connect(keys, "key-pressed", G_CALLBACK(&Impl::keyPressed), s);
    gtk_widget_add_controller(s->toplevel, keys);
    g_signal_connect(s->area, "resize", G_CALLBACK(&Impl::resized), s);
    g_signal_connect(s->toplevel, "close-request", G_CALLBACK(&Impl::closeRequested), s);

    impl_->windows.push_back(std::move(shown));
    gtk_window_present(GTK_WINDOW(s->toplevel));
    impl_->refresh(true);
}

bool Desktop::closed() const {
    return std::any_of(impl_->windows.begin(), impl_->windows.end(),
                       [](const auto& shown) { return shown->closed; });
}

void Desktop::refresh() {
    impl_->refresh(true);
}

std::optional<WindowPicture> Desktop::capture(const std::shared_ptr<ui::Window>& window) {
    Impl::ShownWindow* shown = impl_->find(window);
    if (!shown) {
        return std::nullopt;
    }
    // Wait for a whole frame of the toolkit: the web views at their places, then painted.
    bool timedOut = false;
    GSource* limit = g_timeout_source_new_seconds(5);
    g_source_set_callback(
        limit,
        [](gpointer data) -> gboolean {
            *static_cast<bool*>(data) = true;
            return G_SOURCE_REMOVE;
        },
        &timedOut, nullptr);
    g_source_attach(limit, nullptr);
    while (!timedOut && !gtk_widget_get_frame_clock(shown->toplevel)) {
        g_main_context_iteration(nullptr, TRUE);
    }
    bool painted = false;
    gulong handler = 0;
    GdkFrameClock* frames = gtk_widget_get_frame_clock(shown->toplevel);
    if (frames) {
        handler = g_signal_connect_swapped(frames, "after-paint",
                                           G_CALLBACK(+[](bool* flag) { *flag = true; }), &painted);
    }
    impl_->refresh(true);
    while (frames && !painted && !timedOut) {
        g_main_context_iteration(nullptr, TRUE);
    }
    if (handler) {
        g_signal_handler_disconnect(frames, handler);
    }
    g_source_destroy(limit);
    g_source_unref(limit);
    const int width = gtk_widget_get_width(shown->overlay);
    const int height = gtk_widget_get_height(shown->overlay);
    GskRenderer* renderer = gtk_native_get_renderer(GTK_NATIVE(shown->toplevel));
    if (width <= 0 || height <= 0 || !renderer) {
        return std::nullopt;
    }
    GdkPaintable* paintable = gtk_widget_paintable_new(shown->overlay);
    GtkSnapshot* snapshot = gtk_snapshot_new();
    gdk_paintable_snapshot(paintable, snapshot, width, height);
    GskRenderNode* node = gtk_snapshot_free_to_node(snapshot);
    g_object_unref(paintable);
    if (!node) {
        return std::nullopt;
    }
    const graphene_rect_t viewport =
        GRAPHENE_RECT_INIT(0, 0, static_cast<float>(width), static_cast<float>(height));
    GdkTexture* texture = gsk_renderer_render_texture(renderer, node, &viewport);
    gsk_render_node_unref(node);
    if (!texture) {
        return std::nullopt;
    }
    WindowPicture picture = pictureOf(texture);
    g_object_unref(texture);
    picture.scale = static_cast<double>(picture.width) / width;
    return picture;
}

void Desktop::pointerPressed(const std::shared_ptr<ui::Window>& window, ui::Point point) {
    impl_->post([window = std::weak_ptr<ui::Window>(window), point](Impl& self) {
        if (auto w = window.lock()) {
            self.press(w, point);
        }
    });
}

void Desktop::pointerReleased(const std::shared_ptr<ui::Window>& window, ui::Point point) {
    impl_->post([window = std::weak_ptr<ui::Window>(window), point](Impl& self) {
        if (auto w = window.lock()) {
            self.release(w, point);
        }
    });
}

void Desktop::pointerCancelled(const std::shared_ptr<ui::Window>& window) {
    impl_->post([window = std::weak_ptr<ui::Window>(window)](Impl& self) {
        if (auto w = window.lock()) {
            self.release(w, std::nullopt);
        }
    });
}

bool Desktop::keyPressed(unsigned keyval) {
    return impl_->key(keyval);
}

}  // namespace quillgate::desktop
