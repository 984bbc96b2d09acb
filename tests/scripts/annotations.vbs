' A script client of tolerances and of text along an arc: a frame reads its dimension style
' until it has values of its own, and refusals change nothing.

On Error Resume Next  ' each refusal is checked where it happens

Dim doc : Set doc = CreateObject("NkAuto.Document")
Dim space : Set space = doc.ModelSpace

' A frame made by class name lies along the x axis; its style is "Standard".
Dim frame : Set frame = space.AddCustomObject("KxDbFcf")
Check TypeName(frame) = "IVeltTolerance", "the frame is a " & TypeName(frame)
Check Near(frame.TextHeight, 0.18), "a new frame's text height is " & frame.TextHeight
Check frame.TextStyle = "Standard", "a new frame's text style is " & frame.TextStyle
frame.TextHeight = 0.35
frame.TextColor = 1
frame.ScaleFactor = 2
Check LastError() = 0, "the frame's own values were refused"
frame.TextColor = 257
Check LastError() = INVALID_ARGUMENT, "colour 257 was taken"
frame.TextHeight = 0
Check LastError() <> 0, "text height 0 was taken"
frame.TextStyle = "No such style"
Check LastError() <> 0, "a text style the drawing lacks was taken"
Check frame.TextColor = 1, "a refusal changed the colour to " & frame.TextColor
Check Near(frame.TextHeight, 0.35), "a refusal changed the height to " & frame.TextHeight
Check Near(frame.ScaleFactor, 2), "the scale is " & frame.ScaleFactor

' Text along an arc has no arc until it is given one; a line is no arc.
Dim arcText : Set arcText = space.AddCustomObject("KxDbArcAlignedText")
Check TypeName(arcText) = "IArcTextObj", "the arc text is a " & TypeName(arcText)
Check arcText.Arc Is Nothing, "a new arc text has an arc"
Dim line : Set line = space.AddLine(space.Origin, space.Origin)
Set arcText.Arc = line
Check LastError() <> 0, "a line was taken as the arc"
Check arcText.Arc Is Nothing, "a refused arc was kept"
arcText.Alignment = 1
Check LastError() = 0 And arcText.Alignment = 1, "center alignment was not taken"
arcText.Alignment = 3
Check LastError() = INVALID_ARGUMENT, "alignment 3 was taken"
arcText.TextHeight = -1
Check LastError() <> 0, "height -1 was taken"
Check arcText.Alignment = 1, "a refusal changed the alignment to " & arcText.Alignment
On Error GoTo 0

Report
