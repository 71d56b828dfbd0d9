// Stands in for Plasma's scripting: `shell` is what the test keeps of it between scripts. Every use
// that the real one would not understand is an error.
var output = "";
function print(text) { output += text + "\n"; }
function screenGeometry(screen) {
    var place = shell.screens[screen];
    if (!place) throw new Error("no screen " + screen);
    return {x: place.x, y: place.y, width: place.width, height: place.height};
}
function Containment(kept) {
    var group = null, changed = false;
    function values() {
        if (!group) throw new Error("no configuration group");
        var name = group.join("/");
        return kept.groups[name] || (kept.groups[name] = {});
    }
    Object.defineProperty(this, "id", {get: function () { return kept.id; }});
    Object.defineProperty(this, "screen", {get: function () { return kept.screen; }});
    Object.defineProperty(this, "wallpaperPlugin", {
        get: function () { return kept.plugin; },
        set: function (plugin) { kept.plugin = String(plugin); }
    });
    Object.defineProperty(this, "currentConfigGroup", {set: function (names) { group = names; }});
    this.readConfig = function (key, otherwise) {
        var all = values();
        return key in all ? all[key] : otherwise;
    };
    this.writeConfig = function (key, value) {
        values()[key] = String(value);
        changed = true;
    };
    this.reloadConfig = function () {
        if (changed) ++kept.reloads;
        changed = false;
    };
}
// Those of the present activity.
function desktops() {
    return shell.desktops.filter(function (kept) { return kept.activity == shell.activity; })
        .map(function (kept) { return new Containment(kept); });
}
function desktopById(id) {
    if (typeof id != "number") throw new Error("no id: " + id);
    var kept = shell.desktops.filter(function (kept) { return kept.id == id; })[0];
    return kept && new Containment(kept);
}
