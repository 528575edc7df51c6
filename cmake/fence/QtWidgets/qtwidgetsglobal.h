#error "this room has no user interface: Qt Widgets belongs to app/"
