' Layouts, plot settings and viewports as a script sees them: the plot settings' lopsided
' enumerations, the model layout that stays, refused names and scales that change nothing.

On Error Resume Next  ' each refusal is checked where it happens

Dim doc : Set doc = CreateObject("NkAuto.Document")
Dim sheet : Set sheet = doc.Layouts.Item("Layout1")
Check LastError() = 0, "no layout Layout1"

sheet.PlotRotation = 2
Check sheet.PlotRotation = 2, "rotation 2 reads " & sheet.PlotRotation
sheet.PlotRotation = 7
Check LastError() = 0, "rotation 7 was refused"
Check sheet.PlotRotation = 0, "rotation 7 is stored as " & sheet.PlotRotation
sheet.StandardScale = 16
sheet.StandardScale = 40
Check LastError() = 0, "scale 40 was refused"
Check sheet.StandardScale = 16, "scale 40 changed the scale to " & sheet.StandardScale
sheet.ConfigName = "No Such Plotter.pc3"
Check LastError() <> 0, "an unknown device was taken"
Check sheet.ConfigName = "None", "an unknown device changed it to " & sheet.ConfigName

' The model layout stays; names are the layout manager's.
Dim count : count = doc.Layouts.Count
doc.Layouts.Item("Model").Delete
Check LastError() = &H80004005, "deleting the model layout"
Check doc.Layouts.Count = count, "the model layout went"
Dim other : Set other = doc.Layouts.Add("Other")
sheet.Name = "other"
Check LastError() <> 0, "a taken name was accepted"
sheet.Name = ""
Check LastError() <> 0, "an empty name was accepted"
Check sheet.Name = "Layout1", "refused names changed it to " & sheet.Name
sheet.Name = "Plan"
Check doc.Layouts.Item("plan").TabOrder = 1, "the renamed layout moved"
other.TabOrder = 1
Check sheet.TabOrder = 2, "reordering left Plan at " & sheet.TabOrder

' A viewport on the sheet at 1:50, the others refused.
doc.Layers.Add "Walls"
Dim vp : Set vp = doc.PaperSpace.AddPViewport(doc.PaperSpace.Origin, 200, 100)
Check LastError() = 0, "no viewport"
vp.StandardScale = 12
Check Abs(vp.CustomScale - 0.02) < 1e-12, "1:50 reads " & vp.CustomScale
vp.CustomScale = 0
Check LastError() <> 0, "scale 0 was taken"
vp.CustomScale = -2
Check LastError() <> 0, "scale -2 was taken"
vp.StandardScale = 99
Check LastError() = INVALID_ARGUMENT, "standard scale 99 was taken"
Check Abs(vp.CustomScale - 0.02) < 1e-12, "refused scales changed it to " & vp.CustomScale
Check vp.StandardScale = 12, "refused scales changed the standard scale to " & vp.StandardScale
vp.CustomScale = 0.04
Check vp.StandardScale = 1, "a custom scale reads as standard scale " & vp.StandardScale
vp.FreezeLayers Array("Walls", "Nobody")
Check LastError() = INVALID_ARGUMENT, "an unknown layer was frozen"
vp.FreezeLayers Array("Walls")
Dim frozen : frozen = vp.FrozenLayers
Check UBound(frozen) = 0, "frozen layers: " & (UBound(frozen) + 1)
Check frozen(0) = "Walls", "frozen: " & frozen(0)
vp.ThawLayers "Walls"
frozen = vp.FrozenLayers
Check UBound(frozen) = -1, "thawed layers stay frozen"

Report
