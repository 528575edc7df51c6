#error "this room has no user interface: Qt Gui belongs to app/"
