' 2D polylines as a script sees them: a fitted polyline shows only the vertices the user
' gave, and an index past them is an error; the Type put records and fits;
' the factory's two-vertex rule. The polyline comes from a drawing: scripts make no arrays
' of doubles. Wine's VBScript takes no UBound of them: the given vertices are counted by
' the indices Coordinate takes.

On Error Resume Next

Dim doc : Set doc = CreateObject("NkAuto.Document")
doc.Open DATA_FOLDER & "polylines2d.dxf"
Check LastError() = 0, "the drawing did not open"
' In the file: one 2D polyline through (0, 0), (4, 3), (8, 0), (12, 3).
Dim poly, entity, count
count = 0
For Each entity In doc.ModelSpace
    If TypeName(entity) = "IVeltPolyline" Then
        count = count + 1
        Set poly = entity
    End If
Next
Check count = 1, count & " 2D polylines read, not 1"
Check Near(poly.Length, 15), "the straight polyline is " & poly.Length & " long"

' Fitted, the curve runs through the same four vertices, longer; only they are shown.
poly.Type = 1
Check LastError() = 0, "the Type put was refused"
Check poly.Type = 1, "the type reads " & poly.Type
Check poly.Length > 15, "the fitted curve is " & poly.Length & " long"
Dim last : last = poly.Coordinate(3)
Check LastError() = 0, "the last given vertex could not be read"
last = poly.Coordinate(4)
Check LastError() <> 0, "an index past the given vertices was taken"

poly.Type = 3
Check poly.Type = 3, "the type reads " & poly.Type
last = poly.Coordinate(3)
Check LastError() = 0, "a control vertex of the spline could not be read"
last = poly.Coordinate(4)
Check LastError() <> 0, "a spline shows more than its control vertices"
poly.Type = 0
Check Near(poly.Length, 15), "straightened, the polyline is " & poly.Length & " long"

' The factory: one vertex is refused and adds nothing; the four make a polyline.
Dim before : before = doc.ModelSpace.Count
Dim made : Set made = doc.ModelSpace.AddPolyline(poly.Coordinate(0))
Check LastError() = INVALID_ARGUMENT, "a one-vertex polyline was made"
Check doc.ModelSpace.Count = before, "a refused polyline was added"
Set made = doc.ModelSpace.AddPolyline(poly.Coordinates)
Check LastError() = 0 And doc.ModelSpace.Count = before + 1, "the factory refused four vertices"
Check Near(made.Length, 15), "the copy is " & made.Length & " long"

Report
