#error "this module has no user interface: Qt Widgets belongs to app/"
