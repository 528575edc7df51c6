#error "this module has no user interface: Qt Gui belongs to app/"
