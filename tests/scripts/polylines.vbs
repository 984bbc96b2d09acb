' Lightweight polylines as a script sees them: a Coordinates put that keeps what kept
' vertices carry, indices out of range taken as given, the factory's two-vertex rule, and a
' malformed list that changes nothing. Scripts make no arrays of doubles: the lists come
' from the polylines of a drawing.

On Error Resume Next

Dim doc : Set doc = CreateObject("NkAuto.Document")
doc.Open DATA_FOLDER & "polylines.dxf"
Check LastError() = 0, "the drawing did not open"
' In the file: five vertices with bulges and widths, two vertices, four vertices.
Dim five, two, four, entity, count
count = 0
For Each entity In doc.ModelSpace
    If TypeName(entity) = "IVeltLWPolyline" Then
        count = count + 1
        If count = 1 Then Set five = entity
        If count = 2 Then Set two = entity
        If count = 3 Then Set four = entity
    End If
Next
Check count = 3, count & " lightweight polylines read, not 3"

' Wine's VBScript reads no elements of arrays of doubles: the vertices are judged by the
' lengths they make.
' Five to two: the first two move to (10, 10) and (20, 20) and keep their bulges, so the one
' segment left is an arc of bulge 0.1 over a chord of 200^0.5.
five.Coordinates = two.Coordinates
Check LastError() = 0, "a put of two vertices was refused"
Dim chord : chord = Sqr(200)
Dim angle : angle = 4 * Atn(0.1)
Check Near(five.Length, chord * angle / (2 * Sin(angle / 2))), "five vertices put to two are " & five.Length & " long"
Check Near(five.GetBulge(0), 0.1) And Near(five.GetBulge(1), 0.2), "the kept vertices lost their bulges"

' Two to four: the new vertices plain (bulge 0). GetWidth answers through typed out
' arguments, which scripts cannot pass: the widths are checked by the unit tests.
two.Coordinates = four.Coordinates
Check Near(two.Length, 11), "two vertices put to four are " & two.Length & " long"
Check two.GetBulge(3) = 0, "a new vertex has bulge " & two.GetBulge(3)
Check LastError() = 0, "the new vertices could not be read"

' Out of range: S_OK; setters change nothing.
Dim point : point = four.Coordinate(99)
Check LastError() = 0, "Coordinate(99) raised an error"
four.SetBulge 99, 0.5
four.AddVertex 99, four.Coordinate(0)
Check LastError() = 0, "an index out of range raised an error"
Check Near(four.Length, 11) And four.GetBulge(0) = 0, "an index out of range changed the vertices"

' A list the script made itself holds VARIANTs, not doubles: refused, nothing changed.
four.Coordinates = Array(1.0, 2.0, 3.0, 4.0)
Check LastError() <> 0, "a list of VARIANTs was taken"
Check Near(four.Length, 11), "a refused list changed the vertices"

' The factory: one vertex is refused and adds nothing; two make a polyline.
Dim before : before = doc.ModelSpace.Count
Dim made : Set made = doc.ModelSpace.AddLightWeightPolyline(four.Coordinate(0))
Check LastError() = INVALID_ARGUMENT, "a one-vertex polyline was made"
Check doc.ModelSpace.Count = before, "a refused polyline was added"
Set made = doc.ModelSpace.AddLightWeightPolyline(two.Coordinates)
Check LastError() = 0, "a polyline of four vertices was refused"
Check doc.ModelSpace.Count = before + 1, "the new polyline was not added"
Check Near(made.Length, 11), "the new polyline is " & made.Length & " long"

Report
