' Hatches as a script drives them: a loop from an array of the drawing's entities (VBScript's
' arrays hold VARIANTs), refused loops that change nothing, the loop read back as entities.

On Error Resume Next

Dim doc : Set doc = CreateObject("NkAuto.Document")
doc.Open DATA_FOLDER & "palette.dxf"
Dim circle : Set circle = FirstOfType(doc.ModelSpace, "IVeltCircle")
Dim line : Set line = FirstOfType(doc.ModelSpace, "IVeltLine")
Check Not (circle Is Nothing) And Not (line Is Nothing), "the drawing's circle and line were not found"
Dim count : count = doc.ModelSpace.Count

Dim hatch : Set hatch = doc.ModelSpace.AddHatch(1, "ANSI31", False)
Check LastError() = 0, "AddHatch failed"
hatch.AppendOuterLoop Array(circle)
Check LastError() = 0, "a circle was refused as a loop"
Check hatch.NumberOfLoops = 1, "the hatch has " & hatch.NumberOfLoops & " loops"
Check Near(hatch.Area, PI * circle.Radius ^ 2), "the hatch covers " & hatch.Area

' An open chain, a circle in a chain, nothing, and a number are refused; nothing changes.
hatch.AppendInnerLoop Array(line)
Check LastError() = INVALID_ARGUMENT, "a line alone was taken as a loop"
hatch.AppendInnerLoop Array(circle, line)
Check LastError() = INVALID_ARGUMENT, "a circle and a line were taken as a loop"
hatch.AppendInnerLoop Array()
Check LastError() = INVALID_ARGUMENT, "an empty array was taken as a loop"
hatch.AppendInnerLoop 3
Check LastError() = INVALID_ARGUMENT, "a number was taken as a loop"
Check hatch.NumberOfLoops = 1, "refused loops left " & hatch.NumberOfLoops & " loops"
Check doc.ModelSpace.Count = count + 1, "refused loops added to the drawing"

' The loop comes back as a circle of no drawing, as large as the drawing's.
Dim loopItems : loopItems = hatch.GetLoopAt(0)
Check UBound(loopItems) = 0, "the loop came back as " & (UBound(loopItems) + 1) & " entities"
Check TypeName(loopItems(0)) = "IVeltCircle", "the loop came back as " & TypeName(loopItems(0))
Check Near(loopItems(0).Radius, circle.Radius), "the loop's circle has radius " & loopItems(0).Radius
Check doc.ModelSpace.Count = count + 1, "reading the loop added to the drawing"

Report
