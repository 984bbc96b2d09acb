' A script client of model space: lines added by name, read back by index and with For Each.

Dim doc : Set doc = CreateObject("NkAuto.Document")
Dim space : Set space = doc.ModelSpace
Check TypeName(space) = "IVeltModelSpace", "ModelSpace is a " & TypeName(space)

' Points travel as arrays of doubles, which a script cannot make: it reuses one the server
' gave, so every line here is a point at the origin.
Dim i, line
For i = 1 To 3
    Set line = space.AddLine(space.Origin, space.Origin)
    Check TypeName(line) = "IVeltLine", "AddLine gave a " & TypeName(line)
Next
Check space.Count = 3, "model space holds " & space.Count & " objects"
Check space.Item(2).Handle = line.Handle, "the third item is not the last line added"

Dim entity, seen : seen = 0
For Each entity In space
    Check entity.ObjectName = "KxDbLine", "For Each gave a " & entity.ObjectName
    seen = seen + 1
Next
Check seen = 3, "For Each saw " & seen & " objects"
space.Item(1).Delete
seen = 0
For Each entity In space
    seen = seen + 1
Next
Check seen = 2 And space.Count = 2, "after a delete For Each saw " & seen & " and Count is " & space.Count

' VBScript reports E_INVALIDARG as its error 5 and a type mismatch as 13.
On Error Resume Next
Set entity = space.Item(space.Count)
Check Err.Number = 5, "Item(Count) answered " & Hex(Err.Number)
Err.Clear
Set entity = space.Item("first")
Check Err.Number = 13, "a name as index answered " & Hex(Err.Number)
Err.Clear
On Error GoTo 0

Report
