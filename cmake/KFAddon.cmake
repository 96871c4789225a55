# kf_add_addon(): builds a framework add-on into a <Name>.bundle folder
