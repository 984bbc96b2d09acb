' A script walks every collection of a drawing with For Each, prints each record's name,
' and finds as many as Count says; refused look-ups and adds change nothing.

' A record's name; entries that have none (the drawing's dictionaries) show their kind.
Function NameOf(record)
    On Error Resume Next
    NameOf = record.Name
    If Err.Number <> 0 Then NameOf = "(" & TypeName(record) & ")"
    Err.Clear
End Function

Dim doc : Set doc = CreateObject("NkAuto.Document")
doc.Layers.Add "Walls"
doc.Groups.Add "Doors"
doc.Views.Add "North"
doc.Materials.Add "Oak"
doc.Dictionaries.Add "Mine"

Dim names : names = Array("Layers", "Linetypes", "TextStyles", "DimStyles", "UserCoordinateSystems", _
    "Views", "Viewports", "RegisteredApplications", "Blocks", "Groups", "Dictionaries", "Materials", _
    "Layouts", "PlotConfigurations")
Dim collectionName, items, record, walked, line
For Each collectionName In names
    Select Case collectionName
        Case "Layers" : Set items = doc.Layers
        Case "Linetypes" : Set items = doc.Linetypes
        Case "TextStyles" : Set items = doc.TextStyles
        Case "DimStyles" : Set items = doc.DimStyles
        Case "UserCoordinateSystems" : Set items = doc.UserCoordinateSystems
        Case "Views" : Set items = doc.Views
        Case "Viewports" : Set items = doc.Viewports
        Case "RegisteredApplications" : Set items = doc.RegisteredApplications
        Case "Blocks" : Set items = doc.Blocks
        Case "Groups" : Set items = doc.Groups
        Case "Dictionaries" : Set items = doc.Dictionaries
        Case "Materials" : Set items = doc.Materials
        Case "Layouts" : Set items = doc.Layouts
        Case "PlotConfigurations" : Set items = doc.PlotConfigurations
    End Select
    walked = 0
    line = collectionName & ":"
    For Each record In items
        walked = walked + 1
        line = line & " " & NameOf(record)
    Next
    WScript.Echo line
    Check walked = items.Count, collectionName & " walked " & walked & " records of " & items.Count
Next

' Look-ups by name and by position.
Check doc.Layers.Item("Walls").Name = "Walls", "Layers.Item(""Walls"")"
Check doc.Layers.Item(0).Name = doc.Layers.Item(doc.Layers.Item(0).Name).Name, "Layers.Item(0)"
Check doc.Layers.Add("Walls").ObjectID = doc.Layers.Item("Walls").ObjectID, "Layers.Add of a name it has"

On Error Resume Next
Dim found, count
count = doc.Layers.Count
Set found = doc.Layers.Item("Nobody")
Check LastError() <> 0, "Layers.Item of an unknown name"
Set found = doc.Layers.Item(-1)
Check LastError() <> 0, "Layers.Item(-1)"
Set found = doc.Layers.Item(count)
Check LastError() <> 0, "Layers.Item(Count)"
Set found = doc.Blocks.Item("Nobody")
Check LastError() = &H80004005, "Blocks.Item of an unknown name"
Set found = doc.Groups.Item(-1)
Dim code : code = LastError()
Check code = 5 Or code = &H80070057, "Groups.Item(-1) answered " & Hex(code)
Set found = doc.Linetypes.Add("Dash,Dot")
code = LastError()
Check code = 5 Or code = &H80070057, "Linetypes.Add of a name with a comma answered " & Hex(code)
Check doc.Layers.Count = count, "a refused look-up changed the layers"
On Error GoTo 0

' A layer's properties, the odd ones included.
Dim walls : Set walls = doc.Layers.Item("Walls")
walls.LayerOn = 0
Check walls.LayerOn = False, "LayerOn = 0 left the layer on"
walls.LayerOn = 1
Check walls.LayerOn = True, "LayerOn = 1 left the layer off"
walls.Linetype = "HIDDEN"
Check walls.Linetype = "HIDDEN", "the linetype was not loaded from the standard file"

Report
