#!/usr/bin/env bash
# Runs a program (the desktop tests) in a virtual display of its own: under xvfb-run where it
# is installed, else on the display the session has. Without either it says why and exits 77,
# which the test suite counts as skipped.
set -euo pipefail

# Quiet the toolkit's accessibility bus, which a test display does not have.
export GTK_A11Y=none NO_AT_BRIDGE=1
# The toolkit draws with Cairo: no GL driver to start in a display without a GPU, which
# makes a test's first frame several times faster. (The web engine's pages then stay out of
# the toolkit's pictures of a window; a person's window draws them.)
export GSK_RENDERER=cairo
# The web engine runs its content processes in a bubblewrap sandbox; a locked-down container
# cannot create its namespaces. There, and only for tests, the processes run without it.
if ! command -v bwrap >/dev/null || ! bwrap --ro-bind / / true 2>/dev/null; then
    export WEBKIT_DISABLE_SANDBOX_THIS_IS_DANGEROUS=1
fi

if command -v xvfb-run >/dev/null; then
    exec xvfb-run -a -s "-screen 0 1280x1024x24" "$@"
fi
if [[ -n "${DISPLAY:-}" || -n "${WAYLAND_DISPLAY:-}" ]]; then
    exec "$@"
fi
echo "skipped: no display and no xvfb-run (Debian packages xvfb and xauth)"
exit 77
